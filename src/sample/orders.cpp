#include "sample/orders.h"

#include <algorithm>
#include <utility>

#include "platform/date.h"
#include "sample/random.h"

namespace iqrx::sample {

namespace {

using platform::AddDays;
using platform::AddMinutes;
using platform::Date;

constexpr int kMinutesBetweenActivities = 15, kFriday = 4;

Date LastWorkday(Date date) { return AddDays(date, -std::max(0, Weekday(date) - kFriday)); }

Date NextWorkday(Date date) { return Weekday(date) > kFriday ? AddDays(date, 7 - Weekday(date)) : date; }

// The youngest orders are being planned, the oldest are done. Every tenth, from the second youngest on, is
// planned: these are the ones that the day cancels.
long MorningStatus(const World& world, long age, Random& draw) {
    constexpr long kYoung[] = {kOpen, kPlanned, kReleased, kPlanned, kUnderWay};
    constexpr long kMiddle[] = {kPlanned, kReleased, kUnderWay, kInterrupted};
    if (age % 10 == 1) return kPlanned;
    if (age < world.orders / 5) return kYoung[age % 5];
    if (age < world.orders / 2) return kMiddle[age % 4];
    return draw.Below(4) == 0 ? kCompleted : kClosed;
}

// Spread over at most a year before the day.
Date OrderedAt(const World& world, long age, Random& draw) {
    const std::int64_t span =
        std::clamp(std::int64_t{world.orders} * 180, std::int64_t{5} * 1440, std::int64_t{365} * 1440);
    const auto before = static_cast<int>((age + 1) * span / world.orders);
    const Date date = LastWorkday(platform::StartOfDay(AddMinutes(world.day, -before)));
    return AddMinutes(date, static_cast<int>(7 * 60 + draw.Below(10 * 60)));
}

void PlanFrom(Order& order, Date start) {
    order.schedule.plannedStart = start;
    for (Activity& activity : order.activities) {
        activity.schedule.plannedStart = start;
        activity.schedule.plannedFinish = AddMinutes(start, static_cast<int>(activity.reference->minutes));
        order.schedule.plannedFinish = activity.schedule.plannedFinish;
        start = AddMinutes(activity.schedule.plannedFinish, kMinutesBetweenActivities);
    }
}

void SetTimes(Schedule& schedule, long status) {
    const Date start = schedule.plannedStart;
    schedule.dispatched = schedule.travelStart = schedule.started = schedule.finished = std::nullopt;
    if (status >= kReleased) schedule.dispatched = AddMinutes(start, -16 * 60);
    if (status >= kUnderWay) {
        schedule.travelStart = AddMinutes(start, -40);
        schedule.started = AddMinutes(start, 5);
    }
    if (status >= kCompleted) schedule.finished = AddMinutes(schedule.plannedFinish, 3);
}

// While an order is under way, its first activity is; the others wait for their turn.
void SetStatus(Order& order, long status) {
    order.status = status;
    SetTimes(order.schedule, status);
    for (Activity& activity : order.activities) {
        const bool waits = (status == kUnderWay || status == kInterrupted) && activity.line > 10;
        activity.status = waits ? kReleased : status;
        SetTimes(activity.schedule, activity.status);
    }
}

void AddActivities(Order& order, Random& draw) {
    const long count = 1 + draw.Below(3);
    for (long number = 1; number <= count; ++number) {
        Activity activity{.line = 10 * number};
        activity.reference += draw.Below(kReferenceActivities.size());
        activity.object = ObjectOf(order.installation, draw.Below(kObjectsPerInstallation));
        activity.priority = 1 + draw.Below(5);
        activity.note = draw.Chance(8);
        order.activities.push_back(activity);
    }
}

// One or two days after the order; what has begun before the day was done at once if need be.
Date FirstPlan(const World& world, const Order& order, Random& draw) {
    const Date date =
        NextWorkday(AddDays(platform::StartOfDay(order.ordered), static_cast<int>(1 + draw.Below(2))));
    const int quarters = static_cast<int>(draw.Below(24));
    if (order.status >= kUnderWay && date >= world.day) return AddMinutes(order.ordered, 60);
    return AddMinutes(date, 8 * 60 + 15 * quarters);
}

long NextStatus(const Order& order) {
    if (order.status == kUnderWay && order.index % 4 == 0) return kInterrupted;
    for (const long next : {kPlanned, kReleased, kUnderWay, kCompleted})
        if (next > order.status) return next;
    return kClosed;
}

long YoungestRound(const World& world) { return world.RoundOf(std::max(0L, world.orders - 1)); }

}  // namespace

Order MakeOrder(const World& world, long index, Date now) {
    Random draw(world.seed, 10, index);
    const long age = world.orders - 1 - index;
    Order order;
    order.index = index;
    order.installation = world.InstallationOf(index);
    order.center = world.CenterOfInstallation(order.installation);
    order.area = world.AreaOf(order.center, order.installation);
    order.engineer = world.EngineerFor(order.center, draw.Below(1000));
    order.ordered = age >= 0 ? OrderedAt(world, age, draw) : now;
    order.emergency = draw.Chance(5);
    order.appointment = draw.Chance(40);
    AddActivities(order, draw);
    order.status = age >= 0 ? MorningStatus(world, age, draw) : (age % 3 == 0 ? kOpen : kPlanned);
    PlanFrom(order, FirstPlan(world, order, draw));
    SetStatus(order, order.status);
    return order;
}

void Advance(const World& world, Order& order, Date now) {
    const long status = NextStatus(order);
    if (status < kUnderWay)
        order.engineer = world.EngineerFor(order.center, order.engineer / world.centers + 1);
    const Date latest = status >= kCompleted ? order.schedule.plannedFinish : order.schedule.plannedStart;
    if (status >= kUnderWay && latest > now) {
        const auto ahead = static_cast<int>((latest.secondsSince1970 - now.secondsSince1970 + 59) / 60);
        PlanFrom(order, AddMinutes(order.schedule.plannedStart, -ahead - 5));
    }
    SetStatus(order, status);
}

std::optional<long> PlannedSequence(const World& world, const Order& order) {
    const long age = YoungestRound(world) - world.RoundOf(order.index);
    if (order.index >= world.orders) return 100 - age;
    return age > 2 ? std::nullopt : std::optional(1 + age);
}

std::vector<PlannedActivity> PlannedAt(const World& world, long installation) {
    std::vector<PlannedActivity> all;
    const long youngest = YoungestRound(world);
    for (long round = std::max(0L, youngest - 2); round <= youngest; ++round) {
        const long index = world.OrderAt(round, installation);
        if (index >= world.orders) continue;
        const Order order = MakeOrder(world, index, world.day);
        all.push_back({order, *PlannedSequence(world, order)});
    }
    if (installation % 3 == 0) {  // next year's inspection
        Order order{.index = kNoOrder, .installation = installation, .status = kOpen};
        order.center = world.CenterOfInstallation(installation);
        const Date date = NextWorkday(AddDays(world.day, static_cast<int>(300 + installation % 60)));
        order.schedule.plannedStart = AddMinutes(date, 9 * 60);
        order.activities.push_back({.reference = &kReferenceActivities[2], .object = ObjectOf(installation, 0)});
        all.push_back({order, 50});
    }
    const auto key = [](const PlannedActivity& planned) {
        return std::pair(planned.order.activities.front().reference->code, planned.sequence);
    };
    std::ranges::sort(all, {}, key);
    return all;
}

}  // namespace iqrx::sample
