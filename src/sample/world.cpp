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
    if (orders < 0 || changes < 0 || orders > kLargestOrderNumber - changes)
        platform::RaiseRuntimeError(platform::kInvalidProcedureCall,
                                    "orders and changes lie between 0 and 9999999, their sum included");
}

int Weekday(platform::Date date) {
    return platform::DaysBetween(platform::FromCivil({2024, 1, 1}), date) % 7;  // a Monday
}

std::string Numbered(std::string_view prefix, int digits, long number) {
    std::string text = std::to_string(number);
    text.insert(0, static_cast<std::size_t>(digits) - std::min<std::size_t>(digits, text.size()), '0');
    return std::string(prefix) + text;
}

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
