#include "platform/date.h"
#include "sample/csv_file.h"
#include "sample/files.h"
#include "sample/orders.h"

namespace iqrx::sample {

namespace {

using platform::AddMinutes;
using platform::Date;

long Flag(bool yes) { return yes ? 1 : 2; }

Hundredths Hours(long minutes) { return {minutes * 100 / 60}; }

std::optional<Date> Later(std::optional<Date> moment, int minutes) {
    return moment ? std::optional(AddMinutes(*moment, minutes)) : std::nullopt;
}

constexpr std::string_view kOrderColumns =
    "orno,ccfg,ofbp,stna,lcad,cprj,ordt,osta,cwoc,csar,emno,blyn,ityn,crit,ordu,tvdu,pstm,pftm,estm,"
    "lftm,otim,appo,rsrp,tstm,astm,aftm,csco,csqu,stbp,emer,minu,ract";

struct OrderItself {
    const Order& order;
};

CsvFile& operator<<(CsvFile& csv, const OrderItself& record) {
    const Order& order = record.order;
    const Schedule& times = order.schedule;
    long minutes = 0;
    for (const Activity& activity : order.activities) minutes += activity.reference->minutes;
    csv << OrderNumber(order.index) << InstallationCode(order.installation) << PartnerCode(order.installation)
        << PartnerName(order.installation) << AddressCode(order.installation)
        << (order.index % 6 == 0 ? Numbered("P", 4, order.index % 40) : "") << order.ordered << order.status
        << CenterCode(order.center) << AreaCode(order.area) << EmployeeCode(order.engineer)
        << Flag(order.index % 23 == 5) << Flag(order.status == 23) << (order.status == 23 ? "PARTS" : "")
        << Hours(minutes) << Hours(10 + order.installation % 50) << times.plannedStart << times.plannedFinish
        << AddMinutes(times.plannedStart, -60) << AddMinutes(times.plannedFinish, 24 * 60)
        << Flag(minutes > 400) << Flag(order.appointment) << Flag(false) << times.travelStart << times.started
        << times.finished << (order.installation % 2 == 0 ? Numbered("CT", 5, order.installation + 1) : "")
        << "" << PartnerCode(order.installation) << Flag(order.emergency) << (order.emergency ? 15L : 0L)
        << times.dispatched;
    return csv;
}

// Records that need their order to be written.
struct ActivityOf {
    const Order& order;
    const Activity& activity;
};
struct LineOf : ActivityOf {};
struct AssignmentOf : ActivityOf {};

constexpr std::string_view kActivityColumns =
    "orno,acln,crac,desc,cstp,cagr,ccfg,crob,oseq,ccll,crtc,prpr,cupr,obpr,cprl,cstn,asta,skla,sklb,"
    "sklc,acdu,appo,pstm,pftm,estm,lftm,astm,aftm";

CsvFile& operator<<(CsvFile& csv, const ActivityOf& record) {
    const Order& order = record.order;
    const Activity& activity = record.activity;
    const ReferenceActivity& reference = *activity.reference;
    const Schedule& times = activity.schedule;
    std::string description(reference.description);
    if (activity.note) description += "\nCustomer: \"ring the bell, twice\"";
    csv << OrderNumber(order.index) << activity.line << reference.code << description << reference.serviceType
        << reference.group << InstallationCode(order.installation) << activity.object.code
        << activity.object.sequence << (order.emergency ? Numbered("CALL", 5, order.index % 100000) : "")
        << (order.emergency ? "R04" : "R24") << activity.priority << (order.emergency ? 1L : 3L)
        << 1 + activity.object.sequence << (reference.code == "REPAIR" ? "LEAK" : "")
        << (times.finished && reference.code == "REPAIR" ? "SEAL" : "") << activity.status << reference.skill
        << ""
        << "" << Hours(reference.minutes) << Flag(order.appointment) << times.plannedStart
        << times.plannedFinish << AddMinutes(times.plannedStart, -60)
        << AddMinutes(times.plannedFinish, 24 * 60) << times.started << times.finished;
    return csv;
}

constexpr std::string_view kLineColumns = "orno,line,emno,acln";

CsvFile& operator<<(CsvFile& csv, const LineOf& record) {
    return csv << OrderNumber(record.order.index) << record.activity.line
               << EmployeeCode(record.order.engineer) << record.activity.line;
}

constexpr std::string_view kAssignmentColumns =
    "orno,asln,acln,emno,dltm,actm,rjtm,pstm,pftm,astm,aftm,jctm,ltct";

CsvFile& operator<<(CsvFile& csv, const AssignmentOf& record) {
    const Schedule& times = record.activity.schedule;
    const bool rejected = record.order.index % 19 == 7 && !times.started;
    return csv << OrderNumber(record.order.index) << record.activity.line / 10 << record.activity.line
               << EmployeeCode(record.order.engineer) << times.dispatched
               << (rejected ? std::nullopt : Later(times.dispatched, 10))
               << (rejected ? Later(times.dispatched, 20) : std::nullopt) << times.plannedStart
               << times.plannedFinish << times.started << times.finished << Later(times.finished, 5)
               << AddMinutes(times.plannedFinish, 120);
}

constexpr std::string_view kPlannedColumns =
    "ccfg,crac,aseq,desc,cagr,cstp,cwoc,crob,oseq,esct,psct,pfct,lfct,adur,trtm,skla,sklb,sklc,appo,"
    "stat,orno,acln";

struct PlannedIn {
    const World& world;
    const PlannedActivity& planned;
};

CsvFile& operator<<(CsvFile& csv, const PlannedIn& record) {
    const PlannedActivity& planned = record.planned;
    const ReferenceActivity& reference = *planned.reference;
    const Date finish = AddMinutes(planned.start, static_cast<int>(reference.minutes));
    return csv << InstallationCode(planned.installation) << reference.code << planned.sequence
               << reference.description << reference.group << reference.serviceType
               << CenterCode(record.world.CenterOfInstallation(planned.installation)) << planned.object.code
               << planned.object.sequence << AddMinutes(planned.start, -24 * 60) << planned.start << finish
               << AddMinutes(finish, 24 * 60) << Hours(reference.minutes)
               << Hours(10 + planned.installation % 50) << reference.skill << ""
               << "" << Flag(false) << planned.status << planned.order << planned.line;
}

struct OrderFiles {
    explicit OrderFiles(const std::filesystem::path& directory)
        : orders(directory, "tssoc200", kOrderColumns),
          activities(directory, "tssoc210", kActivityColumns),
          lines(directory, "tssoc205", kLineColumns),
          assignments(directory, "tssoc206", kAssignmentColumns),
          planned(directory, "tsspc200", kPlannedColumns) {}

    void Close() {
        for (TableFiles* files : {&orders, &activities, &lines, &assignments, &planned}) files->Close();
    }

    TableFiles orders, activities, lines, assignments, planned;
};

void WriteCurrent(OrderFiles& files, const World& world) {
    for (long index = 0; index < world.orders; ++index) {
        const Order order = MakeOrder(world, index, world.day);
        files.orders.Current(OrderItself{order});
        for (const Activity& activity : order.activities) {
            files.activities.Current(ActivityOf{order, activity});
            files.lines.Current(LineOf{{order, activity}});
            if (IsAssigned(order)) files.assignments.Current(AssignmentOf{{order, activity}});
        }
    }
    for (long installation = 0; installation < world.installations; ++installation) {
        for (const PlannedActivity& planned : PlannedAt(world, installation)) {
            files.planned.Current(PlannedIn{world, planned});
        }
    }
}

// The same change to the order and to everything that belongs to it.
void WriteChange(OrderFiles& files, const World& world, Date at, std::string_view letter, const Order& order,
                 bool newlyAssigned) {
    files.orders.Change(at, letter, OrderItself{order});
    for (const Activity& activity : order.activities) {
        files.activities.Change(at, letter, ActivityOf{order, activity});
        files.lines.Change(at, letter, LineOf{{order, activity}});
        if (IsAssigned(order)) {
            files.assignments.Change(at, newlyAssigned ? "I" : letter, AssignmentOf{{order, activity}});
        }
    }
    if (const auto planned = PlannedFor(world, order)) {
        files.planned.Change(at, letter, PlannedIn{world, *planned});
    }
}

// The orders that the day changes. Orders are counted from the youngest; of ten, the second is cancelled and
// the others go on.
class Day {
public:
    Day(OrderFiles& files, const World& world) : files_(files), world_(world) {}

    void Write() {
        for (long number = 0; number < world_.changes; ++number) {
            const std::int64_t seconds = std::int64_t{number} * kWorkingSeconds / world_.changes;
            now_ = {AddMinutes(world_.day, 7 * 60).secondsSince1970 + seconds};
            constexpr std::string_view kPattern = "IUDUUIUAUU";  // A: the order before once more
            WriteOne(kPattern[static_cast<std::size_t>(number % 10)]);
        }
    }

private:
    static constexpr std::int64_t kWorkingSeconds = 11 * 3600;

    void WriteOne(char kind) {
        const long cancelable = (world_.orders + 8) / 10;
        if (kind == 'D' && cancelled_ < cancelable) return Cancel();
        if (kind == 'A') return Update();
        if (kind == 'I' || world_.orders == 0) {
            last_ = MakeOrder(world_, world_.orders + added_++, now_);
            return WriteChange(files_, world_, now_, "I", last_, false);
        }
        Continue(world_.orders - cancelable);
    }

    void Cancel() {
        last_ = MakeOrder(world_, world_.orders - 1 - (10 * cancelled_++ + 1), now_);
        WriteChange(files_, world_, now_, "D", last_, false);
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
        WriteChange(files_, world_, now_, "U", last_, !wasAssigned);
    }

    OrderFiles& files_;
    const World& world_;
    Date now_;
    Order last_;
    long added_ = 0, cancelled_ = 0, continued_ = 0;
};

}  // namespace

void WriteOrders(const std::filesystem::path& directory, const World& world) {
    OrderFiles files(directory);
    WriteCurrent(files, world);
    Day(files, world).Write();
    files.Close();
}

}  // namespace iqrx::sample
