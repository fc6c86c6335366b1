#include "subjects.h"

namespace iqrx::bench {

namespace {

std::string Number(int number) {
    const std::string digits = std::to_string(number);
    return std::string(9 - digits.size(), '0') + digits;
}

}  // namespace

const Subject kServiceTypes{"tsmdm030",
                            2,
                            1,
                            {"cstp", "dsca", "prod", "ract", "dahe"},
                            {"cstp", "desc", "proc", "ract", "dahe"},
                            [](int i) -> Row {
                                return {Number(i), "Inspection of type " + Number(i), "P" + Number(i % 97),
                                        i % 3 ? "WRK" : "NGT", i % 2 ? "1" : "2"};
                            }};

const Subject kAddresses{"tccom130",
                         19,
                         1,
                         {"cadr", "nama", "namc", "hono", "name", "pstc"},
                         {"cadr", "nama", "namc", "hono", "name", "pstc"},
                         [](int i) -> Row {
                             return {Number(i),        "Customer " + Number(i * 7 % 100000),
                                     "Harbour street", std::to_string(i % 200),
                                     "Springfield",    Number(i % 10000)};
                         }};

const Subject kServiceObjects{"tscfg200",
                              9,
                              3,
                              {"ccfg", "crob", "oseq", "dsca", "cogr", "emno", "cusc", "manu", "ccal", "cdel"},
                              {"ccfg", "crob", "oseq", "desc", "cogr", "emno", "cusc", "manu", "ccal", "cdel"},
                              [](int i) -> Row {
                                  return {Number(i / 4).substr(1),
                                          "OBJ" + Number(i),
                                          std::to_string(i % 4),
                                          "Pump " + Number(i),
                                          "GRP1",
                                          "E00001",
                                          "",
                                          "",
                                          "",
                                          "D1"};
                              }};

const Subject kOrders{"tssoc200",
                      10,
                      1,
                      {"orno", "ccfg", "ofbp", "stna", "lcad", "cprj", "ordt", "osta", "cwoc", "csar", "emno",
                       "blyn", "ityn", "crit", "ordu", "tvdu", "pstm", "pftm", "estm", "lftm", "otim", "appo",
                       "rsrp", "tstm", "astm", "aftm", "csco", "csqu", "stbp", "emer", "minu", "ract"},
                      {"orno", "ccfg", "ofbp", "stna", "lcad", "cprj", "ordt", "osta", "cwoc", "csar", "emno",
                       "blyn", "ityn", "crit", "ordu", "tvdu", "pstm", "pftm", "estm", "lftm", "otim", "appo",
                       "rsrp", "tstm", "astm", "aftm", "csco", "csqu", "stbp", "emer", "minu", "ract"},
                      [](int i) -> Row {
                          const std::string day = "2026-0" + std::to_string(1 + i % 9) + "-1" +
                                                  std::to_string(i % 10) + " 08:00:00";
                          return {Number(i),
                                  "C" + Number(i % 5000).substr(2),
                                  "BP" + Number(i % 900),
                                  "Northgate Hospital",
                                  Number(i),
                                  "P0001",
                                  day,
                                  i % 2 ? "10" : "20",
                                  "SC01",
                                  "A01",
                                  "E00001",
                                  "2",
                                  "2",
                                  "",
                                  "1.5",
                                  "0.25",
                                  day,
                                  day,
                                  day,
                                  day,
                                  "2",
                                  "1",
                                  "2",
                                  day,
                                  "",
                                  "",
                                  "CT00001",
                                  "",
                                  "BP" + Number(i % 900),
                                  "2",
                                  "0",
                                  day};
                      }};

std::vector<Row> Rows(const Subject& subject, std::int64_t count) {
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) rows.push_back(subject.row(i));
    return rows;
}

}  // namespace iqrx::bench
