// A service order with everything that belongs to it, as it follows from the seed and the order's index.
#pragma once

#include <optional>
#include <vector>

#include "sample/world.h"

namespace iqrx::sample {

// The life of an order and of its activities.
inline constexpr long kOpen = 5, kPlanned = 10, kReleased = 15, kUnderWay = 20, kInterrupted = 23,
                      kCompleted = 25, kClosed = 35;

// When something is planned and when it happened; an empty date has not happened (yet).
struct Schedule {
    platform::Date plannedStart, plannedFinish;
    std::optional<platform::Date> dispatched, travelStart, started, finished;
};

struct Activity {
    long line = 0;
    const ReferenceActivity* reference = kReferenceActivities.data();
    ServiceObject object{};
    long status = 0;
    long priority = 0;
    bool note = false;  // the description goes on in a second line
    Schedule schedule{};
};

struct Order {
    long index = 0;
    long installation = 0, center = 0, area = 0, engineer = 0;
    long status = 0;
    platform::Date ordered{};
    bool emergency = false, appointment = false;
    Schedule schedule{};
    std::vector<Activity> activities{};  // at least one; each has an order line
};

// An order as it stands in the morning, or a new one of that moment when the index lies after the last.
Order MakeOrder(const World& world, long index, platform::Date now);

// One step of the order's life at that moment: on to the next status, with another engineer while it is being
// planned, and with the times that the new status brings.
void Advance(const World& world, Order& order, platform::Date now);

// Work is assigned to an engineer once it is planned.
inline bool IsAssigned(const Order& order) { return order.status >= kPlanned; }

// The sequence number of the planned activity that led to the order; only the youngest orders have one.
std::optional<long> PlannedSequence(const World& world, const Order& order);

struct PlannedActivity {
    Order order;  // which it led to; without a number (kNoOrder) it is still to come
    long sequence;
};
inline constexpr long kNoOrder = -1;
// All planned activities of an installation in the morning, in the order of their keys.
std::vector<PlannedActivity> PlannedAt(const World& world, long installation);

}  // namespace iqrx::sample
