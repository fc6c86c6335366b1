#include <array>
#include <vector>

#include "platform/date.h"
#include "sample/csv_file.h"
#include "sample/files.h"
#include "sample/random.h"

namespace iqrx::sample {

namespace {

constexpr long kYes = 1, kNo = 2;

// One record of a table; `changed` is how it reads after the day's update.
struct Row {
    const World& world;
    long index;
    bool changed;
    void (*write)(CsvFile&, const Row&);

    Random Draw(std::uint64_t purpose) const { return {world.seed, purpose, index}; }
    std::string Text(std::string_view text) const {
        return std::string(text) + (changed ? " (revised)" : "");
    }
};

CsvFile& operator<<(CsvFile& csv, const Row& row) {
    row.write(csv, row);
    return csv;
}

// Which records a table has: `active` ones all day, one that is retired and one that is added.
struct Records {
    long active, retired, added;
};

struct MasterTable {
    std::string_view name;
    std::string_view columns;
    Records records;
    void (*write)(CsvFile&, const Row&);
};

// A short list of the table's own, the retired and the added record last.
template <class List>
Records ListOf(const List& list) {
    const long size = static_cast<long>(list.size());
    return {size - 2, size - 2, size - 1};
}

Records Counted(long active) { return {active, active, active + 1}; }

template <class List>
const auto& Entry(const List& list, long index) {
    return list[static_cast<std::size_t>(index)];
}

struct ServiceType {
    std::string_view code, description, procedure, availability;
    long general;
};
constexpr std::array<ServiceType, 6> kServiceTypes{{
    {"ADV", "Advice by telephone", "REMOTE", "ONC", kYes},
    {"CAL", "Calibration", "CALIB", "WRK", kNo},
    {"INS", "Inspection and upkeep", "INSPECT", "WRK", kNo},
    {"REP", "Repair", "REPAIR", "ONC", kYes},
    {"WIN", "Winter check", "INSPECT", "WRK", kNo},
    {"ZON", "Zone cleaning", "CLEAN", "NGT", kNo},
}};

void WriteServiceType(CsvFile& csv, const Row& row) {
    const ServiceType& type = Entry(kServiceTypes, row.index);
    csv << type.code << row.Text(type.description) << type.procedure << type.availability << type.general;
}

struct Skill {
    std::string_view code, description, rate;
};
constexpr std::array<Skill, 7> kSkills{{
    {"COOL", "Cooling systems", "L2"},
    {"ELEC", "Electrics up to 400 V", "L2"},
    {"HYDR", "Hydraulics", "L2"},
    {"MECH", "Mechanics", "L1"},
    {"SOFT", "Controllers, software", "L3"},
    {"WELD", "Welding", "L2"},
    {"XRAY", "Weld inspection by X-ray", "L3"},
}};
constexpr long kActiveSkills = 5;

void WriteSkill(CsvFile& csv, const Row& row) {
    const Skill& skill = Entry(kSkills, row.index);
    csv << skill.code << row.Text(skill.description) << skill.rate;
}

struct SkillCombination {
    std::string_view first, second, third, unit;
};
constexpr std::array<SkillCombination, 5> kSkillCombinations{{
    {"MECH", "HYDR", "", "hour"},
    {"ELEC", "SOFT", "", "hour"},
    {"COOL", "ELEC", "MECH", "hour"},
    {"WELD", "MECH", "", "day"},
    {"XRAY", "WELD", "MECH", "day"},
}};

void WriteSkillCombination(CsvFile& csv, const Row& row) {
    const SkillCombination& combination = Entry(kSkillCombinations, row.index);
    csv << row.index + 1 << combination.first << combination.second << combination.third
        << (row.changed ? "min" : combination.unit);
}

struct ResponseTime {
    std::string_view code, description;
    long reaction, start, finish;  // hundredths of an hour
};
constexpr std::array<ResponseTime, 6> kResponseTimes{{
    {"R04", "Within 4 hours", 50, 400, 800},
    {"R08", "Within a working day", 100, 800, 1650},
    {"R24", "Next day", 425, 2400, 3600},
    {"R48", "Two days", 850, 4800, 7200},
    {"R72", "Three days", 850, 7200, 9600},
    {"R96", "Four days", 850, 9600, 12000},
}};

void WriteResponseTime(CsvFile& csv, const Row& row) {
    const ResponseTime& time = Entry(kResponseTimes, row.index);
    csv << time.code << row.Text(time.description) << CenterCode(0) << Hundredths{time.reaction}
        << Hundredths{time.start} << Hundredths{time.finish};
}

struct SolutionTime {
    long minutes;  // hundredths
    std::string_view description;
};
constexpr std::array<SolutionTime, 7> kSolutionTimes{{
    {3000, "Half an hour"},
    {4550, "Standard visit"},
    {6000, "One hour"},
    {9000, "An hour and a half"},
    {12025, "Two hours"},
    {48000, "A day"},
    {96000, "Two days"},
}};

void WriteSolutionTime(CsvFile& csv, const Row& row) {
    const SolutionTime& time = Entry(kSolutionTimes, row.index);
    csv << Hundredths{time.minutes} << row.Text(time.description);
}

struct AvailabilityType {
    std::string_view code, description, permitted, hours, available;
};
constexpr std::array<AvailabilityType, 5> kAvailabilityTypes{{
    {"NGT", "Night shift", "2", "8", "1"},
    {"ONC", "On call", "1", "24", "1"},
    {"WRK", "Working time", "1", "9", "1"},
    {"XHR", "Extra hours", "1", "2", "2"},
    {"ZUL", "Training", "2", "8", "2"},
}};

void WriteAvailabilityType(CsvFile& csv, const Row& row) {
    const AvailabilityType& type = Entry(kAvailabilityTypes, row.index);
    csv << type.code << row.Text(type.description) << type.permitted << type.hours << type.available;
}

constexpr std::array<std::string_view, 6> kCities{"Aarhus", "Brno", "'s-Hertogenbosch",
                                                  "Köln",   "Łódź", "Saint-Étienne"};

void WriteServiceCenter(CsvFile& csv, const Row& row) {
    const std::string_view city = Entry(kCities, row.index % static_cast<long>(kCities.size()));
    csv << CenterCode(row.index) << row.Text("Service center " + std::string(city)) << CenterCode(row.index)
        << "FIELD" << CenterCode(0) << Numbered("WH", 2, row.index + 1) << "L1"
        << "REGION" << EmployeeCode(0);
}

void WriteServiceArea(CsvFile& csv, const Row& row) {
    Random draw = row.Draw(1);
    const long center = row.index % row.world.centers;
    csv << AreaCode(row.index) << row.Text(row.index < row.world.centers ? "City" : "Surroundings")
        << (row.index < row.world.centers ? 1L : 2L) << AreaCode(center) << CenterCode(center)
        << Numbered("WH", 2, center + 1) << Hundredths{25 * (1 + draw.Below(8))}
        << Hundredths{50 * (10 + draw.Below(120))} << Hundredths{5 * (500 + draw.Below(1500))} << "EUR"
        << "L1";
}

constexpr std::array<std::string_view, 8> kFirstNames{"Anna",  "Béla", "Chloé", "Dirk",
                                                      "Edith", "José", "Siân",  "Zoë"};
constexpr std::array<std::string_view, 9> kLastNames{"Andersen", "de Vries", "Müller",  "O'Neill",   "Novák",
                                                     "Rossi",    "Sørensen", "D'Amico", "Wiśniewska"};

std::string EmployeeName(long index) {
    const auto first = static_cast<std::size_t>(index) % kFirstNames.size();
    const auto last = static_cast<std::size_t>(index) % kLastNames.size();
    return std::string(kLastNames[last]) + ", " + std::string(kFirstNames[first]);
}

void WriteServiceEmployee(CsvFile& csv, const Row& row) {
    const World& world = row.world;
    const long center = world.CenterOfEmployee(row.index);
    csv << EmployeeCode(row.index) << EmployeeName(row.index) << CenterCode(center) << EmployeeCode(row.index)
        << AddressCode(world.AddressOfEmployee(row.index)) << EmployeeCode(center)
        << AreaCode(world.AreaOf(center, row.index)) << Numbered("CAR", 3, row.index + 1)
        << Numbered("user", 3, row.index + 1) << Hundredths{row.changed ? 150L : 200L};
}

// Two skills of each employee, in the order of their codes.
void WriteEmployeeSkill(CsvFile& csv, const Row& row) {
    constexpr std::array<std::string_view, kActiveSkills> kGroups{"COOL", "CTRL", "PUMPS", "PUMPS", "CTRL"};
    const long employee = row.index / kSkillsPerEmployee;
    const long skill = employee % (kActiveSkills - 1) + row.index % kSkillsPerEmployee;
    csv << EmployeeCode(employee) << Entry(kSkills, skill).code << Entry(kGroups, skill)
        << Hundredths{row.changed ? 125 : 80 + 5 * row.Draw(2).Below(5)};
}

void WriteAddress(CsvFile& csv, const Row& row) {
    constexpr std::array<std::string_view, 5> kStreets{"Station Road", "Königstraße", "Rue de l'Église",
                                                       "Mill Lane, rear entrance", "Nørregade"};
    Random draw = row.Draw(3);
    const World& world = row.world;
    const bool site = row.index < world.installations;
    csv << AddressCode(row.index)
        << (site ? PartnerName(row.index) : EmployeeName(row.index - world.installations))
        << Entry(kStreets, draw.Below(static_cast<long>(kStreets.size())))
        << Numbered("", 1, 1 + draw.Below(180)) + (row.changed ? " B" : "")
        << Entry(kCities, draw.Below(static_cast<long>(kCities.size())))
        << Numbered("", 5, 1000 + draw.Below(90000));
}

void WriteInstallation(CsvFile& csv, const Row& row) {
    Random draw = row.Draw(4);
    const World& world = row.world;
    const long center = world.CenterOfInstallation(row.index);
    const bool roof = row.index % 7 == 3;
    csv << InstallationCode(row.index)
        << row.Text(roof ? "Cold store\nRoof access, ask for \"Jo\"" : "Heating and cooling plant")
        << PartnerCode(row.index) << CenterCode(center) << AreaCode(world.AreaOf(center, row.index))
        << EmployeeCode(world.EngineerFor(center, draw.Below(1000)))
        << EmployeeCode(world.EngineerFor(center, draw.Below(1000)))
        << EmployeeCode(world.EngineerFor(center, draw.Below(1000)))
        << (row.index % 5 == 0 ? "Gate 3, call first" : "") << Numbered("Z", 1, draw.Below(5))
        << std::to_string(2 + draw.Below(60)) + ".5" << std::to_string(10 + draw.Below(50))
        << CenterCode(center) << AddressCode(world.AddressOfInstallation(row.index));
}

void WriteServiceObject(CsvFile& csv, const Row& row) {
    const long installation = row.index / kObjectsPerInstallation;
    const ServiceObject object = ObjectOf(installation, row.index % kObjectsPerInstallation);
    const World& world = row.world;
    csv << InstallationCode(installation) << object.code << object.sequence << row.Text(object.description)
        << object.group
        << EmployeeCode(world.EngineerFor(world.CenterOfInstallation(installation), row.Draw(5).Below(1000)))
        << ""
        << "ACME"
        << ""
        << "ONSITE";
}

std::vector<MasterTable> MasterTables(const World& world) {
    return {
        {"tsmdm000", "seqn,skla,sklb,sklc,untd", ListOf(kSkillCombinations), WriteSkillCombination},
        {"tsmdm030", "cstp,desc,proc,ract,dahe", ListOf(kServiceTypes), WriteServiceType},
        {"tsmdm100", "cwoc,dsca,ccal,wctp,cmwc,cwar,clrt,srtp,srep", Counted(world.centers), WriteServiceCenter},
        {"tsmdm105", "csar,desc,artp,cmsa,cwoc,cwar,trti,dist,ccha,ccur,clrt", Counted(world.areas),
         WriteServiceArea},
        {"tsmdm130", "skll,desc,clrt", ListOf(kSkills), WriteSkill},
        {"tsmdm135",
         "emno,skll,cogr,afct",
         {world.employees * kSkillsPerEmployee, world.employees * kSkillsPerEmployee,
          (world.employees + 1) * kSkillsPerEmployee},
         WriteEmployeeSkill},
        {"tsmdm140", "emno,dsca,cwoc,ccal,cadr,frmn,csar,ccar,user,mopd", Counted(world.employees),
         WriteServiceEmployee},
        {"tsclm020", "crtc,desc,ccal,rctt,enst,sltn", ListOf(kResponseTimes), WriteResponseTime},
        {"tsclm024", "sltt,desc", ListOf(kSolutionTimes), WriteSolutionTime},
        {"tccom130", "cadr,nama,namc,hono,name,pstc", Counted(world.installations + world.employees),
         WriteAddress},
        {"tcccp001", "ract,dsca,ptmu,hrsd,avlb", ListOf(kAvailabilityTypes), WriteAvailabilityType},
        {"tscfg220", "ccfg,desc,ofbp,cwoc,csar,tecr,teca,tecb,cusc,czon,dist,trti,ccal,cadr",
         Counted(world.installations), WriteInstallation},
        {"tscfg200",
         "ccfg,crob,oseq,desc,cogr,emno,cusc,manu,ccal,cdel",
         {world.installations * kObjectsPerInstallation, world.installations * kObjectsPerInstallation,
          (world.installations + 1) * kObjectsPerInstallation},
         WriteServiceObject},
    };
}

// Master data is kept before the field day begins: one record is added, three are updated, one is retired.
void WriteTrail(TableFiles& files, const MasterTable& table, const World& world) {
    const auto at = [&](int minutes) { return platform::AddMinutes(world.day, 6 * 60 + minutes); };
    files.Change(at(5), "I", Row{world, table.records.added, false, table.write});
    files.Change(at(20), "U", Row{world, 0, true, table.write});
    files.Change(at(35), "U", Row{world, table.records.active / 2, true, table.write});
    files.Change(at(40), "U", Row{world, table.records.added, true, table.write});
    files.Change(at(50), "D", Row{world, table.records.retired, false, table.write});
}

}  // namespace

void WriteMasterData(const std::filesystem::path& directory, const World& world) {
    for (const MasterTable& table : MasterTables(world)) {
        TableFiles files(directory, table.name, table.columns);
        for (long index = 0; index < table.records.active; ++index) {
            files.Current(Row{world, index, false, table.write});
        }
        files.Current(Row{world, table.records.retired, false, table.write});
        if (world.changes > 0) WriteTrail(files, table, world);
        files.Close();
    }
}

}  // namespace iqrx::sample
