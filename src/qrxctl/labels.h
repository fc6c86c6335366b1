// The labels of every text that the programs show, as packaging/I18nText.xml.in and the catalog have them.
#pragma once

#include <span>

namespace iqrx::qrxctl {

std::span<const char* const> Labels();

}  // namespace iqrx::qrxctl
