// The field service that the sample describes: how large it is, and the facts that several tables share.
// Every fact follows from the seed and an index, so that nothing is kept in memory.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/value.h"
#include "sample/sample.h"

namespace iqrx::sample {

// An activity as it is described once and then carried out many times.
struct ReferenceActivity {
    std::string_view code, description, serviceType, group, skill;
    long minutes;
};

inline constexpr std::array<ReferenceActivity, 6> kReferenceActivities{{
    {"CALIB", "Calibrate sensors", "CAL", "MEASURE", "ELEC", 90},
    {"CLEAN", "Clean and disinfect", "INS", "UPKEEP", "MECH", 60},
    {"INSPECT", "Yearly inspection", "INS", "UPKEEP", "MECH", 120},
    {"REFILL", "Refill coolant", "REP", "UPKEEP", "COOL", 45},
    {"REPAIR", "Repair after breakdown", "REP", "BREAKDWN", "HYDR", 180},
    {"UPDATE", "Update controller software", "INS", "UPKEEP", "SOFT", 30},
}};

struct ServiceObject {
    std::string_view code, description, group;
    long sequence;
};

// Indexes run from 0. What lies below a count is there in the morning and in the evening; the record at the
// count itself is retired during the day and the one after it is new. Neither is referred to by other tables.
struct World {
    explicit World(const SampleSize& size);

    unsigned seed;
    long orders, changes;
    long employees, centers, areas, installations;
    platform::Date day;  // the day of the changes, at midnight

    long CenterOfEmployee(long employee) const { return employee % centers; }
    long CenterOfInstallation(long installation) const { return installation % centers; }
    long AreaOf(long center, long index) const { return center + centers * (index / centers % 2); }
    long EngineerFor(long center, long draw) const;

    // The sites come first, then the homes of the employees.
    long AddressOfInstallation(long installation) const;
    long AddressOfEmployee(long employee) const;

    // The order's installation; each run of as many orders as there are installations visits each of them once.
    long InstallationOf(long order) const;
    long RoundOf(long order) const { return order / installations; }
    long OrderAt(long round, long installation) const;
};

inline constexpr long kObjectsPerInstallation = 3;
inline constexpr long kSkillsPerEmployee = 2;

std::string Numbered(std::string_view prefix, int digits, long number);
std::string CenterCode(long center);
std::string AreaCode(long area);
std::string EmployeeCode(long employee);  // also the code of the employee's calendar
std::string InstallationCode(long installation);
std::string AddressCode(long address);
std::string OrderNumber(long order);
std::string PartnerCode(long installation);
std::string PartnerName(long installation);
ServiceObject ObjectOf(long installation, long position);

}  // namespace iqrx::sample
