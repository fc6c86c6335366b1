#include "sample/world.h"

#include <algorithm>

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::sample {

namespace {

constexpr long kLargestOrderNumber = 9'999'999;

// Quotes, commas, apostrophes and letters beyond ASCII, as they come in real customers' names.
constexpr std::array<std::string_view, 10> kPartnerNames{
    "Northgate Hospital",        "Müller & Söhne GmbH", "O'Brien \"Cold Stores\", Ltd.",
    "Bakery \"Golden Ear\"",     "Ålesund Fisk AS",     "Lefèvre, Frères et Cie",
    "Van den Broek Kwekerij",    "Žižkov Pivovar",      "Hôtel de l'Étoile",
    "City Swimming Pools, Ltd.",
};

// In the order of their codes, so that the objects of an installation are, too.
constexpr std::array<ServiceObject, 5> kObjects{{
    {"BOILER-8", "Boiler, 8 bar", "HEAT", 1},
    {"CHILLER-35", "Chiller 35 kW", "COOL", 1},
    {"CTRL-X1", "Controller X1", "CTRL", 1},
    {"PUMP-200", "Circulation pump \"200\"", "PUMPS", 1},
    {"VALVE-12", "Mixing valve ½\"", "PUMPS", 1},
}};

}  // namespace

World::World(const SampleSize& size)
    : seed(size.seed),
      orders(size.orders),
      changes(size.changes),
      employees(std::clamp(size.orders / 50, 8L, 500L)),
      centers(std::clamp(employees / 12, 2L, 40L)),
      areas(centers * 2),
      installations(std::max(6L, size.orders / 10)),
      day(*platform::ParseIsoDate(kSampleDay)) {
    if (orders < 0 || changes < 0 || orders > kLargestOrderNumber - changes) {
        platform::RaiseRuntimeError(platform::kInvalidProcedureCall,
                                    "orders and changes lie between 0 and 9999999, their sum included");
    }
}

long World::EngineerFor(long center, long draw) const {
    const long colleagues = (employees - center + centers - 1) / centers;
    return center + centers * (draw % colleagues);
}

long World::AddressOfInstallation(long installation) const {
    return installation < installations ? installation : installation + employees;
}

long World::AddressOfEmployee(long employee) const { return installations + employee; }

long World::InstallationOf(long order) const {
    return (order % installations + RoundOf(order) * 37) % installations;
}

long World::OrderAt(long round, long installation) const {
    const long shift = round * 37 % installations;
    return round * installations + (installation - shift + installations) % installations;
}

std::string Numbered(std::string_view prefix, int digits, long number) {
    const std::string text = std::to_string(number);
    std::string code(prefix);
    if (text.size() < static_cast<std::size_t>(digits)) code.append(digits - text.size(), '0');
    return code + text;
}

std::string CenterCode(long center) { return Numbered("SC", 2, center + 1); }
std::string AreaCode(long area) { return Numbered("A", 2, area + 1); }
std::string EmployeeCode(long employee) { return Numbered("E", 5, employee + 1); }
std::string InstallationCode(long installation) { return Numbered("C", 7, installation + 1); }
std::string AddressCode(long address) { return Numbered("A", 8, address + 1); }
std::string OrderNumber(long order) { return Numbered("SO", 7, order + 1); }

// Two installations to a customer.
std::string PartnerCode(long installation) { return Numbered("BP", 7, installation / 2 + 1); }

std::string PartnerName(long installation) {
    const long partner = installation / 2;
    const long named = static_cast<long>(kPartnerNames.size());
    std::string name(kPartnerNames[static_cast<std::size_t>(partner % named)]);
    return partner < named ? name : name + ' ' + std::to_string(partner / named + 1);
}

ServiceObject ObjectOf(long installation, long position) {
    ServiceObject object = kObjects[static_cast<std::size_t>(installation % 3 + position)];
    object.sequence = position + 1;
    return object;
}

}  // namespace iqrx::sample
