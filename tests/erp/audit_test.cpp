#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

class Audit : public Extract {
protected:
    Audit()
        : criteria(erp->CreateObject("com.orva.erp.audit.AuditCriteria")),
          reader(erp->CreateObject("com.orva.erp.audit.AuditReader")),
          status(erp->CreateObject("com.orva.erp.audit.RecordStatus")) {}

    void AskForPeriod(std::string_view from, std::string_view to) {
        const ObjectRef period = erp->CreateObject("com.orva.erp.audit.Period");
        Call(*period, "setFrom", At(from));
        Call(*period, "setTo", At(to));
        Call(*criteria, "setPeriod", period);
    }

    void AskForRange(const std::string& field, const std::string& from, const std::string& to) {
        const ObjectRef parameter = erp->CreateObject("com.orva.erp.audit.Parameter");
        Call(*parameter, "setFieldName", field);
        Call(*parameter, "setFrom", from);
        Call(*parameter, "setTo", to);
        Call(*criteria, "addParameter", parameter);
    }

    void Initialize(const TableLayout& table) {
        Value manager = erp->CreateManager(table), record = erp->CreateRecord(table), wanted = criteria;
        const Value given = manager;
        Call(*reader, "Initialize", ByRef{manager}, ByRef{record}, ByRef{wanted});
        EXPECT_EQ(manager, given);
    }

    Texts Read(const TableLayout& table, const std::string& getter) {
        Initialize(table);
        return Collect(reader, getter);
    }

    ObjectRef criteria, reader, status;
};

TEST_F(Audit, YieldsTheChangesOfThePeriodWithBothEndsIncluded) {
    Write("tsmdm030.audit.csv",
          "changed_at,change,cstp\n2009-05-07 07:59:59,U,A\n2009-05-07 08:00:00,U,B\n"
          "2009-05-07 09:00:00,U,C\n2009-05-07 09:00:01,U,D\n");
    AskForPeriod("2009-05-07 08:00:00", "2009-05-07 09:00:00");
    EXPECT_EQ(Read(kTypes, "getServiceType"), (Texts{"B", "C"}));
}

TEST_F(Audit, YieldsTheChangesInTheFilesOrder) {
    Write("tsmdm030.audit.csv",
          "cstp,changed_at,change\nB,2009-05-07 08:00:02,U\nA,2009-05-07 08:00:01,U\nB,2009-05-07 "
          "08:00:03,D\n");
    AskForPeriod("1970-01-01", "2010-01-01");
    EXPECT_EQ(Read(kTypes, "getServiceType"), (Texts{"B", "A", "B"}));
}

TEST_F(Audit, YieldsTheChangesWhoseKeysLieInAllTheRanges) {
    Write("tssoc210.audit.csv",
          "changed_at,change,orno,acln\n2009-05-07 08:00:00,U,O1,0\n2009-05-07 08:00:00,U,O2,9999\n"
          "2009-05-07 08:00:00,U,O3,10000\n2009-05-07 08:00:00,U," +
              Highest(9) + ",1\n");
    AskForRange("orno", "", Highest(9));
    AskForRange("acln", "0000", "9999");
    EXPECT_EQ(Read(kActivities, "getServiceOrder"), (Texts{"O1", "O2"}));
}

TEST_F(Audit, CarriesOnlyTheKeyAndTheRequestedFields) {
    Write("tsmdm030.audit.csv",
          "changed_at,change,cstp,desc,dahe,rate,ordt\n2009-05-07 08:00:00,U,A,text,1,2.5,2009-05-07\n");
    Call(*criteria, "addOutputField", std::string("desc"));
    Call(*criteria, "addOutputField", std::string("rate"));
    Initialize(kTypes);
    const ObjectRef element = platform::ToObject(Call(*reader, "nextElement"));
    EXPECT_EQ(element->Get("getServiceType"), Value(std::string("A")));
    EXPECT_EQ(element->Get("getServiceTypeDescription"), Value(std::string("text")));
    EXPECT_EQ(element->Get("getRate"), Value(2.5));
    EXPECT_EQ(element->Get("getGenDefaultAssignment"), Value(Long{0}));
    EXPECT_EQ(element->Get("getOrderDate"), Value(platform::Null()));
}

TEST_F(Audit, TellsTheKindOfAChangeByItsLetters) {
    Write("tsmdm030.audit.csv",
          "changed_at,change,cstp\n2009-05-07 08:00:00,I,A\n2009-05-07 08:00:00,U,B\n"
          "2009-05-07 08:00:00,D,C\n2009-05-07 08:00:00,DU,D\n2009-05-07 08:00:00,,E\n");
    Initialize(kTypes);
    Texts kinds;
    while (platform::ToBoolean(Call(*reader, "hasMoreElements"))) {
        Value element = Call(*reader, "nextElement");
        std::string kind;
        if (platform::ToBoolean(Call(*status, "isDeleted", ByRef{element}))) kind += 'D';
        if (platform::ToBoolean(Call(*status, "isUpdated", ByRef{element}))) kind += 'U';
        if (platform::ToBoolean(Call(*status, "isInserted", ByRef{element}))) kind += 'I';
        kinds.push_back(kind);
    }
    EXPECT_EQ(kinds, (Texts{"I", "U", "D", "DU", ""}));
}

TEST_F(Audit, HandsOutTheOriginalObjectOfAnElement) {
    Write("tsmdm030.audit.csv", "changed_at,change,cstp\n2009-05-07 08:00:00,U,A\n");
    Initialize(kTypes);
    Value element = Call(*reader, "nextElement");
    const Value original = Call(*reader, "getOriginalObject", ByRef{element});
    EXPECT_EQ(platform::ToObject(original)->Get("getServiceType"), Value(std::string("A")));
}

TEST_F(Audit, OfATrailWithOnlyItsHeaderIsEmpty) {
    Write("tsmdm030.audit.csv", "changed_at,change,cstp\n");
    AskForPeriod("1970-01-01", "2010-01-01");
    EXPECT_EQ(Read(kTypes, "getServiceType"), Texts());
}

TEST_F(Audit, TrailThatIsMalformedNamesFileLineAndColumn) {
    const std::pair<const char*, const char*> cases[] = {
        {"change,cstp\n", ".audit.csv has no column 'changed_at'"},
        {"changed_at,cstp\n", ".audit.csv has no column 'change'"},
        {"changed_at,change\n", ".audit.csv has no column 'cstp'"},
        {"changed_at,change,cstp\nyesterday,U,A\n", ".audit.csv, line 2, column 'changed_at': 'yesterday'"},
        {"changed_at,change,cstp\n,U,A\n", ".audit.csv, line 2, column 'changed_at': the moment"},
        {"changed_at,change,cstp\n2009-05-07 08:00:00,X,A\n",
         ".audit.csv, line 2, column 'change': 'X' is none"},
    };
    for (const auto& [text, expected] : cases) {
        Write("tsmdm030.audit.csv", text);
        const std::string complaint = ErrorOf([&] { Read(kTypes, "getServiceType"); });
        EXPECT_TRUE(Contains(complaint, expected)) << complaint;
    }
}

TEST_F(Audit, RangeOnAnUnknownFieldIsAnError) {
    Write("tsmdm030.audit.csv", "changed_at,change,cstp\n");
    AskForRange("none", "", "1");
    EXPECT_EQ(ErrorOf([&] { Initialize(kTypes); }), "The audit trail has no field none");
}

TEST_F(Audit, ReaderRefusesObjectsOfOtherKinds) {
    Value manager = criteria, record = criteria, wanted = criteria;
    EXPECT_EQ(ErrorOf([&] { Call(*reader, "Initialize", ByRef{manager}, ByRef{record}, ByRef{wanted}); }),
              "The argument is not a manager");
}

TEST_F(Audit, ClassesAreTheOnlyOnesBesidesTheCalendarService) {
    try {
        erp->CreateObject("com.orva.erp.audit.Unknown");
        FAIL();
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.number, platform::kCannotCreateObject);
    }
}

}  // namespace
}  // namespace iqrx::erp::extract
