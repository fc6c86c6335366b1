// Requests that arrive through COM. The process has had no command line: the tables' group comes from the settings
// file beside the program, and the catalog is loaded by the first request, from the request's own database.
#pragma once

#include "control/cls_data_copy.h"

namespace iqrx::hosting::windows {

class ComRequests {
public:
    // Reads the settings file of the program's folder.
    explicit ComRequests(control::Process& process);

    control::Process& Process() { return process_; }

    // Runs the request once the catalog is there. What keeps the catalog from loading goes to the request
    // error log and then to `failed`, and the next request tries again. Raises RuntimeError for a request
    // that arrives while another is under way: a process copies one table at a time.
    template <class Run, class Tell>
    void Serve(const control::CopyRequest& request, Run run, Tell failed) {
        const Turn turn(*this);
        if (LoadCatalogOnce(request))
            run();
        else
            failed();
    }

private:
    class Turn {
    public:
        explicit Turn(ComRequests& requests);
        ~Turn() { requests_.busy_ = false; }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        ComRequests& requests_;
    };

    bool LoadCatalogOnce(const control::CopyRequest& request);

    control::Process& process_;
    bool catalogLoaded_ = false;
    bool busy_ = false;
};

}  // namespace iqrx::hosting::windows
