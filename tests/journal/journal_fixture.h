// A state directory of a test's own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "journal/machine.h"
#include "journal/state_directory.h"
#include "platform/date.h"
#include "platform/text.h"
#include "support/temporary_directory.h"

namespace iqrx::journal {

class JournalTest : public ::testing::Test {
protected:
    StateDirectory Open(Use use = Use::Writing) { return {host, machine->Files(), place, use}; }

    std::string Contents(const std::filesystem::path& name) const {
        std::ifstream stream(place / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void Fill(const std::filesystem::path& name, std::string_view text) const {
        std::filesystem::create_directories((place / name).parent_path());
        std::ofstream(place / name, std::ios::binary) << text;
    }
    std::string PathOf(const std::string& name) const { return platform::Utf8(place / name); }
    static platform::Date At(const std::string& text) {
        return platform::ParseIsoDate(text.size() == 8 ? "2026-11-21 " + text : text).value();
    }

    const testing::TemporaryDirectory owned;
    const std::filesystem::path place = owned.path / "data.db.state";
    const std::unique_ptr<testing::JournalMachine> machine = testing::OpenJournalMachine();
    testing::FakeHost host{machine->Host()};
};

}  // namespace iqrx::journal
