// What to do about an error that the tool shows.
#pragma once

#include <string>
#include <string_view>

namespace iqrx::qrxctl {

// A command that can be pasted, or a few words; empty where the error itself says all there is to say. The
// table is the one that was copied; empty: none.
std::string StepAfter(std::string_view error, std::string_view table = {});

}  // namespace iqrx::qrxctl
