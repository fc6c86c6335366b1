// Batches of blocks that count a row's key and then insert or update it.
#include <algorithm>
#include <array>
#include <span>

#include "platform/postgres/connection.h"
#include "platform/postgres/errors.h"

namespace iqrx::platform::postgres {

namespace {

using Kind = dialect::Step::Kind;

// Its condition, without the numbers of the places.
std::string RowOf(const std::string& statement) {
    std::string condition = statement.substr(std::min(statement.find(" WHERE "), statement.size()));
    std::erase_if(condition, [](char letter) { return letter >= '0' && letter <= '9'; });
    return condition;
}

// The count may have a number where the others have its digits.
std::optional<std::string> DigitsOrText(const Literal& literal) {
    if (literal.Is() == Literal::Kind::Whole) return std::to_string(literal.WholeNumber());
    if (literal.Is() == Literal::Kind::Text) return std::string(literal.TextValue());
    return std::nullopt;
}

bool Same(const Literal* one, const Literal* other) {
    const auto text = DigitsOrText(*one);
    return text && text == DigitsOrText(*other);
}

// The steps of a block that does what an upsert does.
struct Block {
    const dialect::Step *count, *condition, *insert, *update;
};

std::optional<Block> BlockAt(const dialect::Translation& translation, std::size_t first) {
    constexpr std::array kKinds{Kind::Count, Kind::SkipUnless, Kind::Run, Kind::Skip, Kind::Run};
    const std::span<const dialect::Step> rest = std::span(translation.steps).subspan(first);
    if (rest.size() < kKinds.size()) return std::nullopt;
    const auto steps = rest.first<kKinds.size()>();
    const bool isBlock = std::ranges::equal(steps, kKinds, {}, &dialect::Step::kind) &&
                         steps[1].target == first + 4 && steps[3].target == first + 5;
    if (!isBlock || RowOf(translation.statements[steps[0].statement]) !=
                        RowOf(translation.statements[steps[4].statement]))
        return std::nullopt;
    return Block{&steps[0], &steps[1], &steps[2], &steps[4]};
}

// All of the same statements; none when a step is not of such a block.
std::vector<Block> BlocksOf(const dialect::Translation& translation) {
    std::vector<Block> blocks;
    for (std::size_t first = 0; first < translation.steps.size(); first += 5) {
        const auto block = BlockAt(translation, first);
        if (!block || block->update->statement != translation.steps[4].statement ||
            block->insert->statement != translation.steps[2].statement)
            return {};
        blocks.push_back(*block);
    }
    return blocks;
}

// Whether the set of values updates the row that it counts, and inserts it where there is none.
bool IsUpsert(const dialect::Found& found, std::size_t set, const Block& block) {
    const Literal& none = *found.Of(set, block.condition->firstLiteral, 1).front();
    if (none.Is() != Literal::Kind::Whole || none.WholeNumber() != 0) return false;
    const auto counted = found.Of(set, block.count->firstLiteral, block.count->literalCount);
    const auto updated = found.Of(set, block.update->firstLiteral, block.update->literalCount);
    return counted.size() <= updated.size() && std::ranges::equal(counted, updated.last(counted.size()), Same);
}

dialect::Translation Alone(const dialect::Translation& batch, const dialect::Step& step) {
    dialect::Translation one;
    one.statements = {batch.statements[step.statement]};
    one.steps = {step};
    one.tables = batch.tables;
    std::ranges::sort(one.tables);
    one.tables.erase(std::unique(one.tables.begin(), one.tables.end()), one.tables.end());
    return one;
}

}  // namespace

// A batch takes effect as a whole or not at all.
std::int64_t PostgresConnection::RunBatch(const dialect::Found& found) {
    if (const auto rows = RunBatchAsRows(found)) return *rows;
    std::int64_t affected = 0;
    RunAsUnit([&] {
        for (std::size_t set = 0; set < found.sets; ++set) affected += RunSteps(found, set);
    });
    return affected;
}

std::int64_t PostgresConnection::RunSteps(const dialect::Found& found, std::size_t set) {
    const auto& program = static_cast<Program&>(*found.program);
    const std::vector<dialect::Step>& steps = program.translation.steps;
    std::int64_t affected = 0, kept = 0;
    for (std::size_t next = 0; next < steps.size();) {
        const dialect::Step& step = steps[next++];
        if (step.kind == Kind::Skip) {
            next = step.target;
        } else if (step.kind == Kind::SkipUnless) {
            const Literal& wanted = *found.Of(set, step.firstLiteral, step.literalCount).front();
            if (wanted.Is() != Literal::Kind::Whole || wanted.WholeNumber() != kept) next = step.target;
        } else if (step.kind == Kind::Count) {
            parameters_.Clear();
            Bind(found, set, step);
            const Answer answer =
                Ask([&] { session_->Queue(*program.statements[step.statement], parameters_); });
            kept = std::strtoll(PQgetvalue(answer.get(), 0, 0), nullptr, 10);
        } else {
            parameters_.Clear();
            Bind(found, set, step);
            const std::int64_t count =
                Write(*program.statements[step.statement], parameters_, program.touchesControlTable);
            if (step.kind == Kind::Run) affected += count;
        }
    }
    return affected;
}

// All rows in one trip. Nothing, and nothing is done, where that can't be, or where it fails: the steps one
// by one find out of what.
std::optional<std::int64_t> PostgresConnection::RunBatchAsRows(const dialect::Found& found) {
    auto& program = static_cast<Program&>(*found.program);
    const std::vector<Block> blocks = BlocksOf(program.translation);
    if (blocks.empty() || !CanSend() || frame_ != Frame::None || program.touchesControlTable)
        return std::nullopt;
    const auto upsert = UpsertOfBlock(program, *blocks[0].update, *blocks[0].insert);
    if (!upsert || !upsert->many || upsert->many->IsRefused()) return std::nullopt;
    std::deque<Arrays> trips;
    for (std::size_t set = 0; set < found.sets; ++set)
        for (const Block& block : blocks) {
            if (!IsUpsert(found, set, block)) return std::nullopt;
            parameters_.Clear();
            Bind(found, set, *block.update);
            Bind(found, set, *block.insert);
            if (!trips.empty() && trips.back().Add(parameters_)) continue;
            if (!trips.emplace_back(upsert->columns).Add(parameters_)) return std::nullopt;
        }
    if (!AskForAll(*upsert->many, trips)) return std::nullopt;
    return static_cast<std::int64_t>(found.sets * blocks.size());
}

bool PostgresConnection::AskForAll(const Prepared& statement, std::deque<Arrays>& trips) {
    try {
        Ask([&] {
            session_->Queue(kBegin);
            session_->Queue(kByKeys);
            if (statement.IsToBeTold()) session_->Tell(statement);
            for (Arrays& rows : trips) session_->Queue(statement, rows);
            session_->Queue(kCommit);
        });
    } catch (const DatabaseFailure& failure) {
        if (isOfEarlier_ || IsLost(failure)) throw;
        EndTransaction();
        statement.Become(Prepared::Told::Refused);
        return false;
    }
    EndWrite(false);
    return true;
}

std::shared_ptr<PreparedUpsert> PostgresConnection::UpsertOfBlock(Program& program, const dialect::Step& update,
                                                                  const dialect::Step& insert) {
    const Kept& first = program.statements[update.statement];
    const Kept& second = program.statements[insert.statement];
    if (auto known = upserts_.Find(first, second)) return known;
    SendPending();
    return PrepareUpsert(first, second, Alone(program.translation, update), Alone(program.translation, insert));
}

}  // namespace iqrx::platform::postgres
