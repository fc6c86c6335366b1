// Makes the data that the tests' servers start from, once for all of them: postgres_data DIRECTORY
#include <iostream>

#include "support/postgres_server.h"

int main(int count, char** arguments) try {
    if (count != 2) return 2;
    iqrx::testing::PostgresServer server({.listens = iqrx::testing::PostgresOptions::Listens::Socket});
    server.ShutDown();
    server.KeepData(arguments[1]);
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
