#include <array>

#include "platform/date.h"
#include "sample/files.h"
#include "sample/random.h"

namespace iqrx::sample {

namespace {

// One record of a table; `changed` is how it reads after the day's update.
struct Row {
    const World& world;
    long index;
    bool changed;

    Random Draw(std::uint64_t purpose) const { return {world.seed, purpose, index}; }
    std::string Text(std::string_view text) const {
        return std::string(text) + (changed ? " (revised)" : "");
    }
};

struct MasterTable {
    std::string name;
    Record (*record)(const Row&);
    long groups;  // all day; the group after them is retired or added
    long recordsOfAGroup = 1;
};

std::string Pick(std::span<const std::string_view> values, long index) {
    return std::string(values[static_cast<std::size_t>(index) % values.size()]);
}

constexpr std::array<std::string_view, 6> kCities{"Aarhus", "Brno", "'s-Hertogenbosch",
                                                  "Köln",   "Łódź", "Saint-Étienne"};

Record ServiceCenterRecord(const Row& row) {
    const std::string code = CenterCode(row.index);
    return Record() << Cell("cwoc", code)
                    << Cell("dsca", row.Text("Service center " + Pick(kCities, row.index)))
                    << Cell("ccal", code) << Cell("wctp", "FIELD") << Cell("cmwc", CenterCode(0))
                    << Cell("cwar", Numbered("WH", 2, row.index + 1)) << Cell("clrt", "L1")
                    << Cell("srtp", "REGION") << Cell("srep", EmployeeCode(0));
}

Record ServiceAreaRecord(const Row& row) {
    Random draw = row.Draw(1);
    const long center = row.index % row.world.centers;
    const bool isCity = row.index < row.world.centers;
    return Record() << Cell("csar", AreaCode(row.index))
                    << Cell("desc", row.Text(isCity ? "City" : "Surroundings"))
                    << Cell("artp", isCity ? 1L : 2L) << Cell("cmsa", AreaCode(center))
                    << Cell("cwoc", CenterCode(center)) << Cell("cwar", Numbered("WH", 2, center + 1))
                    << Cell("trti", Hundredths(25 * (1 + draw.Below(8))))
                    << Cell("dist", Hundredths(50 * (10 + draw.Below(120))))
                    << Cell("ccha", Hundredths(5 * (500 + draw.Below(1500)))) << Cell("ccur", "EUR")
                    << Cell("clrt", "L1");
}

std::string EmployeeName(long index) {
    constexpr std::array<std::string_view, 8> kFirst{"Anna",  "Béla", "Chloé", "Dirk",
                                                     "Edith", "José", "Siân",  "Zoë"};
    constexpr std::array<std::string_view, 9> kLast{"Andersen", "de Vries", "Müller",  "O'Neill",   "Novák",
                                                    "Rossi",    "Sørensen", "D'Amico", "Wiśniewska"};
    return Pick(kLast, index) + ", " + Pick(kFirst, index);
}

Record ServiceEmployeeRecord(const Row& row) {
    const World& world = row.world;
    const long center = world.CenterOfEmployee(row.index);
    const std::string code = EmployeeCode(row.index);
    return Record() << Cell("emno", code) << Cell("dsca", EmployeeName(row.index))
                    << Cell("cwoc", CenterCode(center)) << Cell("ccal", code)
                    << Cell("cadr", AddressCode(world.AddressOfEmployee(row.index)))
                    << Cell("frmn", EmployeeCode(center))
                    << Cell("csar", AreaCode(world.AreaOf(center, row.index)))
                    << Cell("ccar", Numbered("CAR", 3, row.index + 1))
                    << Cell("user", Numbered("user", 3, row.index + 1))
                    << Cell("mopd", Hundredths(row.changed ? 150 : 200));
}

// Two skills of each employee, in the order of their codes.
Record EmployeeSkillRecord(const Row& row) {
    constexpr std::array<std::string_view, 5> kSkills{"COOL", "ELEC", "HYDR", "MECH", "SOFT"};
    constexpr std::array<std::string_view, 5> kGroups{"COOL", "CTRL", "PUMPS", "PUMPS", "CTRL"};
    const long employee = row.index / kSkillsPerEmployee;
    const long skill = employee % 4 + row.index % kSkillsPerEmployee;
    return Record() << Cell("emno", EmployeeCode(employee)) << Cell("skll", Pick(kSkills, skill))
                    << Cell("cogr", Pick(kGroups, skill))
                    << Cell("afct", Hundredths(row.changed ? 125 : 80 + 5 * row.Draw(2).Below(5)));
}

Record AddressRecord(const Row& row) {
    constexpr std::array<std::string_view, 5> kStreets{"Station Road", "Königstraße", "Rue de l'Église",
                                                       "Mill Lane, rear entrance", "Nørregade"};
    Random draw = row.Draw(3);
    const long employee = row.index - row.world.installations;
    return Record() << Cell("cadr", AddressCode(row.index))
                    << Cell("nama", employee < 0 ? PartnerName(row.index) : EmployeeName(employee))
                    << Cell("namc", Pick(kStreets, draw.Below(kStreets.size())))
                    << Cell("hono", std::to_string(1 + draw.Below(180)) + (row.changed ? " B" : ""))
                    << Cell("name", Pick(kCities, draw.Below(kCities.size())))
                    << Cell("pstc", Numbered("", 5, 1000 + draw.Below(90000)));
}

Record InstallationRecord(const Row& row) {
    Random draw = row.Draw(4);
    const World& world = row.world;
    const long center = world.CenterOfInstallation(row.index);
    const auto anyEngineer = [&] { return EmployeeCode(world.EngineerFor(center, draw.Below(1000))); };
    const bool roof = row.index % 7 == 3;
    return Record() << Cell("ccfg", InstallationCode(row.index))
                    << Cell("desc", row.Text(roof ? "Cold store\nRoof access, ask for \"Jo\""
                                                  : "Heating and cooling plant"))
                    << Cell("ofbp", PartnerCode(row.index)) << Cell("cwoc", CenterCode(center))
                    << Cell("csar", AreaCode(world.AreaOf(center, row.index))) << Cell("tecr", anyEngineer())
                    << Cell("teca", anyEngineer()) << Cell("tecb", anyEngineer())
                    << Cell("cusc", row.index % 5 == 0 ? "Gate 3, call first" : "")
                    << Cell("czon", Numbered("Z", 1, draw.Below(5)))
                    << Cell("dist", std::to_string(2 + draw.Below(60)) + ".5")
                    << Cell("trti", 10 + draw.Below(50)) << Cell("ccal", CenterCode(center))
                    << Cell("cadr", AddressCode(world.AddressOfInstallation(row.index)));
}

Record ServiceObjectRecord(const Row& row) {
    const World& world = row.world;
    const long installation = row.index / kObjectsPerInstallation;
    const long center = world.CenterOfInstallation(installation);
    const ServiceObject object = ObjectOf(installation, row.index % kObjectsPerInstallation);
    return Record() << Cell("ccfg", InstallationCode(installation)) << Cell("crob", object.code)
                    << Cell("oseq", object.sequence) << Cell("desc", row.Text(object.description))
                    << Cell("cogr", object.group)
                    << Cell("emno", EmployeeCode(world.EngineerFor(center, row.Draw(5).Below(1000))))
                    << Cell("cusc", "") << Cell("manu", "ACME") << Cell("ccal", "") << Cell("cdel", "ONSITE");
}

// Master data is kept before the field day begins: one record is added, three are updated, one is retired.
void WriteTable(const std::filesystem::path& directory, const MasterTable& table, const World& world) {
    const auto record = [&](long index, bool changed = false) {
        return table.record({world, index, changed});
    };
    const long retired = table.groups * table.recordsOfAGroup, added = retired + table.recordsOfAGroup;
    TableFiles files(directory, table.name, record(0));
    for (long index = 0; index <= retired; ++index) files.Write({}, record(index));
    const auto change = [&](int minutes, std::string_view letter, const Record& to) {
        files.Write(Change{platform::AddMinutes(world.day, 6 * 60 + minutes), letter}, to);
    };
    if (world.changes > 0) {
        change(5, "I", record(added));
        change(20, "U", record(0, true));
        change(35, "U", record(retired / 2, true));
        change(40, "U", record(added, true));
        change(50, "D", record(retired));
    }
    files.Close();
}

}  // namespace

void WriteMasterData(const std::filesystem::path& directory, const World& world) {
    const MasterTable tables[] = {
        {"tsmdm100", ServiceCenterRecord, world.centers},
        {"tsmdm105", ServiceAreaRecord, world.areas},
        {"tsmdm135", EmployeeSkillRecord, world.employees, kSkillsPerEmployee},
        {"tsmdm140", ServiceEmployeeRecord, world.employees},
        {"tccom130", AddressRecord, world.installations + world.employees},
        {"tscfg220", InstallationRecord, world.installations},
        {"tscfg200", ServiceObjectRecord, world.installations, kObjectsPerInstallation}};
    for (const MasterTable& table : tables) WriteTable(directory, table, world);
}

}  // namespace iqrx::sample
