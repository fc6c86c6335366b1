// What is said of a history in which lines cannot be read.
#pragma once

#include <string>

#include "journal/history.h"

namespace iqrx::qrxctl {

std::string DamageLine(const std::string& historyFile, const journal::Damage& damage);  // a note

}  // namespace iqrx::qrxctl
