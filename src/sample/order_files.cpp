#include <algorithm>

#include "platform/date.h"
#include "sample/files.h"
#include "sample/orders.h"

namespace iqrx::sample {

namespace {

using platform::AddMinutes;
using platform::Date;

constexpr int kHour = 60, kDay = 24 * kHour;

long Flag(bool yes) { return yes ? 1 : 2; }

std::string Hours(long minutes) { return Hundredths(minutes * 100 / 60); }

std::optional<Date> Later(std::optional<Date> moment, int minutes) {
    return moment ? std::optional(AddMinutes(*moment, minutes)) : std::nullopt;
}

Record OrderRecord(const Order& order) {
    const Schedule& times = order.schedule;
    const std::string partner = PartnerCode(order.installation);
    const bool interrupted = order.status == kInterrupted;
    long minutes = 0;
    for (const Activity& activity : order.activities) minutes += activity.reference->minutes;
    return Record() << Cell("orno", OrderNumber(order.index))
                    << Cell("ccfg", InstallationCode(order.installation)) << Cell("ofbp", partner)
                    << Cell("stna", PartnerName(order.installation))
                    << Cell("lcad", AddressCode(order.installation))
                    << Cell("cprj", order.index % 6 == 0 ? Numbered("P", 4, order.index % 40) : "")
                    << Cell("ordt", order.ordered) << Cell("osta", order.status)
                    << Cell("cwoc", CenterCode(order.center)) << Cell("csar", AreaCode(order.area))
                    << Cell("emno", EmployeeCode(order.engineer)) << Cell("blyn", Flag(order.index % 23 == 5))
                    << Cell("ityn", Flag(interrupted)) << Cell("crit", interrupted ? "PARTS" : "")
                    << Cell("ordu", Hours(minutes)) << Cell("tvdu", Hours(10 + order.installation % 50))
                    << Cell("pstm", times.plannedStart) << Cell("pftm", times.plannedFinish)
                    << Cell("estm", AddMinutes(times.plannedStart, -kHour))
                    << Cell("lftm", AddMinutes(times.plannedFinish, kDay))
                    << Cell("otim", Flag(minutes > 400)) << Cell("appo", Flag(order.appointment))
                    << Cell("rsrp", Flag(false)) << Cell("tstm", times.travelStart)
                    << Cell("astm", times.started) << Cell("aftm", times.finished)
                    << Cell("csco", order.installation % 2 == 0 ? Numbered("CT", 5, order.installation + 1) : "")
                    << Cell("csqu", "") << Cell("stbp", partner) << Cell("emer", Flag(order.emergency))
                    << Cell("minu", order.emergency ? 15 : 0) << Cell("ract", times.dispatched);
}

Record ActivityRecord(const Order& order, const Activity& activity) {
    const ReferenceActivity& reference = *activity.reference;
    const Schedule& times = activity.schedule;
    const bool repair = reference.code == "REPAIR";
    const std::string note = activity.note ? "\nCustomer: \"ring the bell, twice\"" : "";
    return Record() << Cell("orno", OrderNumber(order.index)) << Cell("acln", activity.line)
                    << Cell("crac", reference.code) << Cell("desc", std::string(reference.description) + note)
                    << Cell("cstp", reference.serviceType) << Cell("cagr", reference.group)
                    << Cell("ccfg", InstallationCode(order.installation))
                    << Cell("crob", activity.object.code) << Cell("oseq", activity.object.sequence)
                    << Cell("ccll", order.emergency ? Numbered("CALL", 5, order.index % 100000) : "")
                    << Cell("crtc", order.emergency ? "R04" : "R24") << Cell("prpr", activity.priority)
                    << Cell("cupr", order.emergency ? 1 : 3) << Cell("obpr", 1 + activity.object.sequence)
                    << Cell("cprl", repair ? "LEAK" : "")
                    << Cell("cstn", repair && times.finished ? "SEAL" : "") << Cell("asta", activity.status)
                    << Cell("skla", reference.skill) << Cell("sklb", "") << Cell("sklc", "")
                    << Cell("acdu", Hours(reference.minutes)) << Cell("appo", Flag(order.appointment))
                    << Cell("pstm", times.plannedStart) << Cell("pftm", times.plannedFinish)
                    << Cell("estm", AddMinutes(times.plannedStart, -kHour))
                    << Cell("lftm", AddMinutes(times.plannedFinish, kDay)) << Cell("astm", times.started)
                    << Cell("aftm", times.finished);
}

Record LineRecord(const Order& order, const Activity& activity) {
    return Record() << Cell("orno", OrderNumber(order.index)) << Cell("line", activity.line)
                    << Cell("emno", EmployeeCode(order.engineer)) << Cell("acln", activity.line);
}

Record AssignmentRecord(const Order& order, const Activity& activity) {
    const Schedule& times = activity.schedule;
    const bool rejected = order.index % 19 == 7 && !times.started;
    const std::optional<Date> answered = Later(times.dispatched, rejected ? 20 : 10);
    return Record() << Cell("orno", OrderNumber(order.index)) << Cell("asln", activity.line / 10)
                    << Cell("acln", activity.line) << Cell("emno", EmployeeCode(order.engineer))
                    << Cell("dltm", times.dispatched) << Cell("actm", rejected ? std::nullopt : answered)
                    << Cell("rjtm", rejected ? answered : std::nullopt) << Cell("pstm", times.plannedStart)
                    << Cell("pftm", times.plannedFinish) << Cell("astm", times.started)
                    << Cell("aftm", times.finished) << Cell("jctm", Later(times.finished, 5))
                    << Cell("ltct", AddMinutes(times.plannedFinish, 2 * kHour));
}

// Of the activity that the order came from.
Record PlannedRecord(const Order& order, long sequence) {
    const Activity& activity = order.activities.front();
    const ReferenceActivity& reference = *activity.reference;
    const Date start = order.schedule.plannedStart;
    const Date finish = AddMinutes(start, static_cast<int>(reference.minutes));
    const long stage = order.status >= kCompleted ? 3 : (IsAssigned(order) ? 2 : 1);
    return Record() << Cell("ccfg", InstallationCode(order.installation)) << Cell("crac", reference.code)
                    << Cell("aseq", sequence) << Cell("desc", reference.description)
                    << Cell("cagr", reference.group) << Cell("cstp", reference.serviceType)
                    << Cell("cwoc", CenterCode(order.center)) << Cell("crob", activity.object.code)
                    << Cell("oseq", activity.object.sequence) << Cell("esct", AddMinutes(start, -kDay))
                    << Cell("psct", start) << Cell("pfct", finish) << Cell("lfct", AddMinutes(finish, kDay))
                    << Cell("adur", Hours(reference.minutes))
                    << Cell("trtm", Hours(10 + order.installation % 50)) << Cell("skla", reference.skill)
                    << Cell("sklb", "") << Cell("sklc", "") << Cell("appo", Flag(false)) << Cell("stat", stage)
                    << Cell("orno", order.index == kNoOrder ? "" : OrderNumber(order.index))
                    << Cell("acln", activity.line);
}

struct OrderFiles {
    const std::filesystem::path& directory;
    const World& world;
    TableFiles orders{directory, "tssoc200", OrderRecord({})};
    TableFiles activities{directory, "tssoc210", ActivityRecord({}, {})};
    TableFiles lines{directory, "tssoc205", LineRecord({}, {})};
    TableFiles assignments{directory, "tssoc206", AssignmentRecord({}, {})};
    TableFiles planned{directory, "tsspc200", PlannedRecord(MakeOrder(world, 0, world.day), 0)};

    void Close() {
        for (TableFiles* files : {&orders, &activities, &lines, &assignments, &planned}) files->Close();
    }
};

// An order and what belongs to it: as they stand, or the same change to all of them, but that assignments may be new.
void WriteOrder(OrderFiles& files, const std::optional<Change>& change, const Order& order,
                bool newlyAssigned = false) {
    files.orders.Write(change, OrderRecord(order));
    for (const Activity& activity : order.activities) {
        files.activities.Write(change, ActivityRecord(order, activity));
        files.lines.Write(change, LineRecord(order, activity));
        if (IsAssigned(order))
            files.assignments.Write(newlyAssigned ? Change{change->at, "I"} : change,
                                    AssignmentRecord(order, activity));
    }
}

void WriteMorning(OrderFiles& files, const World& world) {
    for (long index = 0; index < world.orders; ++index)
        WriteOrder(files, {}, MakeOrder(world, index, world.day));
    for (long installation = 0; installation < world.installations; ++installation)
        for (const PlannedActivity& planned : PlannedAt(world, installation))
            files.planned.Write({}, PlannedRecord(planned.order, planned.sequence));
}

// The orders that the day changes. Orders are counted from the youngest; of ten, the second is cancelled and
// the others go on.
class Day {
public:
    explicit Day(OrderFiles& files) : files_(files), world_(files.world) {}

    void Write() {
        for (long number = 0; number < world_.changes; ++number) {
            const std::int64_t seconds = std::int64_t{number} * kWorkingSeconds / world_.changes;
            now_ = {AddMinutes(world_.day, 7 * kHour).secondsSince1970 + seconds};
            constexpr std::string_view kPattern = "IUDUUIUAUU";  // A: the order before once more
            WriteOne(kPattern[static_cast<std::size_t>(number % 10)]);
        }
    }

private:
    static constexpr std::int64_t kWorkingSeconds = 11 * 3600;

    void WriteOne(char kind) {
        const long cancelable = (world_.orders + 8) / 10;
        if (kind == 'D' && cancelled_ < cancelable) {
            last_ = MakeOrder(world_, world_.orders - 1 - (10 * cancelled_++ + 1), now_);
            WriteLast("D");
        } else if (kind == 'A') {
            Update();
        } else if (kind == 'I' || world_.orders == 0) {
            last_ = MakeOrder(world_, world_.orders + added_++, now_);
            WriteLast("I");
        } else {
            Continue(world_.orders - cancelable);
        }
    }

    // When every order had its turn, they go on from where the turn before left them.
    void Continue(long orders) {
        const long turn = continued_ / orders, number = continued_ % orders;
        ++continued_;
        const long age = 10 * (number / 9) + (number % 9 == 0 ? 0 : number % 9 + 1);
        last_ = MakeOrder(world_, world_.orders - 1 - age, now_);
        for (long done = 0; done < std::min(turn, 7L); ++done) Advance(world_, last_, now_);
        Update();
    }

    void Update() {
        const bool wasAssigned = IsAssigned(last_);
        Advance(world_, last_, now_);
        WriteLast("U", !wasAssigned);
    }

    void WriteLast(std::string_view letter, bool newlyAssigned = false) {
        const Change change{now_, letter};
        WriteOrder(files_, change, last_, newlyAssigned);
        if (const auto sequence = PlannedSequence(world_, last_))
            files_.planned.Write(change, PlannedRecord(last_, *sequence));
    }

    OrderFiles& files_;
    const World& world_;
    Date now_;
    Order last_;
    long added_ = 0, cancelled_ = 0, continued_ = 0;
};

}  // namespace

void WriteOrders(const std::filesystem::path& directory, const World& world) {
    OrderFiles files{directory, world};
    WriteMorning(files, world);
    Day(files).Write();
    files.Close();
}

}  // namespace iqrx::sample
