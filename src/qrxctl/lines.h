// The lines that the tool shows: at most 80 columns of facts, each standing by itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace iqrx::qrxctl {

inline constexpr std::size_t kColumns = 80;
inline constexpr std::size_t kFactWidth = 61;  // of a fact's text in a line

// Breaks a text between its words so that no line passes the last column; lines after the first are indented.
// A word that is longer than a line stands on one of its own.
std::string Wrapped(std::string_view text, std::size_t indent);

std::string Grouped(std::int64_t number);     // 1,412
std::string InGroups(std::string_view text);  // every number in it: "would remove 44,252 of 44,292 rows"
std::string Seconds(double seconds);          // 0.05
std::string Duration(std::int64_t seconds);   // 12 m, 8.5 h, 3 d

// A fact: its first word (ok, note, wrong, stopped, failed) in a column of its own, its subject in another.
std::string Fact(std::string_view word, std::string_view subject, std::string_view text);

// A word in a narrow column and what is to be said of it; "-" for nothing.
std::string Detail(std::string_view word, std::string_view text);

// What to do about the fact above. It can be pasted: a command that is wider than a line goes on in the next
// one in the shell's way.
std::string NextStep(std::string_view command);

// What to do about an error: a command, or a few words; empty where the error itself says all there is to
// say. The table is the one that was copied; empty: none.
std::string StepAfter(std::string_view error, std::string_view table = {});

// Something that went wrong by the way, with what to do about it where that is known.
std::string NoteOf(std::string_view subject, std::string_view problem);

// Why the tool did not do what it was told.
std::string Complaint(std::string_view text);

// "1 table", "2 tables".
std::string Counted(std::int64_t number, std::string_view thing);

// "a, b, c, d, e and 9 more".
std::string Some(const std::vector<std::string>& names);

}  // namespace iqrx::qrxctl
