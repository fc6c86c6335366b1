// plain_loop DATABASE CSV TABLE KEYS COLUMN...
// Upserts the rows of a file whose cells have no quotes, all read beforehand; prints the seconds that the
// loop took, by the clock and of the processor.
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "plain_loop.h"

namespace {

std::vector<iqrx::bench::Row> ReadRows(const char* file) {
    std::vector<iqrx::bench::Row> rows;
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    while (std::getline(stream, line)) {
        iqrx::bench::Row& row = rows.emplace_back();
        std::size_t begin = 0;
        for (auto comma = line.find(','); comma != std::string::npos; comma = line.find(',', begin)) {
            row.push_back(line.substr(begin, comma - begin));
            begin = comma + 1;
        }
        row.push_back(line.substr(begin));
    }
    return rows;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 6) return 64;
    const std::string table = arguments[3];
    const std::vector<std::string> columns(arguments + 5, arguments + count);
    const auto keys = static_cast<std::size_t>(std::atoi(arguments[4]));
    const auto seconds = iqrx::bench::RunPlainLoop(arguments[1], ReadRows(arguments[2]),
                                                   iqrx::bench::PlainUpdate(table, columns, keys),
                                                   iqrx::bench::PlainInsert(table, columns));
    std::printf("%f %f\n", seconds.wall, seconds.cpu);
}
