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
    long EngineerFor(long center, long draw) const {
        const long colleagues = (employees - center + centers - 1) / centers;
        return center + centers * (draw % colleagues);
    }

    // The sites come first, then the homes of the employees.
    long AddressOfInstallation(long installation) const {
        return installation < installations ? installation : installation + employees;
    }
    long AddressOfEmployee(long employee) const { return installations + employee; }

    // The order's installation; each run of as many orders as there are installations visits each of them once.
    long InstallationOf(long order) const {
        return (order % installations + RoundOf(order) * 37) % installations;
    }
    long RoundOf(long order) const { return order / installations; }
    long OrderAt(long round, long installation) const {
        const long shift = round * 37 % installations;
        return round * installations + (installation - shift + installations) % installations;
    }
};

inline constexpr long kObjectsPerInstallation = 3;
inline constexpr long kSkillsPerEmployee = 2;

int Weekday(platform::Date date);  // days after Monday

std::string Numbered(std::string_view prefix, int digits, long number);
inline std::string CenterCode(long center) { return Numbered("SC", 2, center + 1); }
inline std::string AreaCode(long area) { return Numbered("A", 2, area + 1); }
// Its calendar's, too.
inline std::string EmployeeCode(long employee) { return Numbered("E", 5, employee + 1); }
inline std::string InstallationCode(long installation) { return Numbered("C", 7, installation + 1); }
inline std::string AddressCode(long address) { return Numbered("A", 8, address + 1); }
inline std::string OrderNumber(long order) { return Numbered("SO", 7, order + 1); }
// Two installations to a customer.
inline std::string PartnerCode(long installation) { return Numbered("BP", 7, installation / 2 + 1); }
std::string PartnerName(long installation);
ServiceObject ObjectOf(long installation, long position);

}  // namespace iqrx::sample
