#include "qrxctl/locked_table.h"

#include <fmt/format.h>

#include "platform/date.h"
#include "qrxctl/lines.h"
#include "qrxctl/table_status.h"

namespace iqrx::qrxctl {

std::string AgeOf(const journal::SheetText& sheet, const journal::Timestamp& now) {
    const auto since = journal::ParseRfc3339(sheet.since);
    return since ? Duration(now.Utc().secondsSince1970 - since->Utc().secondsSince1970) : "";
}

std::string SinceText(const journal::SheetText& sheet) {
    const auto since = journal::ParseRfc3339(sheet.since);
    return since ? platform::IsoDateTime(since->local) : "";
}

std::string LastSign(const std::optional<journal::SignOfLife>& sign, const journal::Timestamp& now) {
    const auto seconds = SecondsSinceSign(sign, now);
    return seconds ? fmt::format("last sign {} ago", Duration(*seconds)) : "";
}

std::string HowFar(const journal::SheetState& state, const journal::Timestamp& now) {
    std::string age = AgeOf(state.sheet, now);
    if (!state.sign) return age;
    return Counted(state.sign->rows, "row") + (age.empty() ? "" : ", " + age);
}

std::string LockedSince(const journal::SheetText& sheet, const journal::Timestamp& now) {
    const std::string since = SinceText(sheet);
    return since.empty() ? "locked" : fmt::format("locked since {} ({})", since, AgeOf(sheet, now));
}

std::string HolderText(const journal::SheetText& sheet, const platform::Host& host) {
    std::string text = sheet.program.empty() ? "an unknown program" : sheet.program;
    text += fmt::format(", pid {}", sheet.by.pid);
    if (!sheet.by.user.empty()) text += ", user " + sheet.by.user;
    return text + (sheet.by.host == host.Self().host ? ", on this machine" : ", on host " + sheet.by.host);
}

std::string WithoutProof(const journal::SheetState& state, const std::string& lastSign) {
    const std::string& host = state.sheet.by.host;
    const std::string since = SinceText(state.sheet);
    const std::string who =
        state.holder != journal::Holder::Elsewhere || host.empty()
            ? "locked by a program that keeps no run sheet here"
            : fmt::format("locked by a program on host {}{}{}, or by one that keeps no run sheet", host,
                          since.empty() ? "" : " since " + since,
                          lastSign.empty() ? "" : " (" + lastSign + ")");
    return who + "; nothing here can prove that it ended";
}

}  // namespace iqrx::qrxctl
