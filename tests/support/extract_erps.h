// ERPs that are directories of files: the run parameter is the directory.
#pragma once

#include "erp/extract/extract_erp.h"

namespace iqrx::testing {

struct ExtractErps : erp::ErpProvider {
    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice&) override {
        return erp::extract::OpenExtract(runParameter);
    }
};

}  // namespace iqrx::testing
