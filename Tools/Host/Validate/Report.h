// Report.h - what a validation tells its user.
#pragma once

#include "Tools/Host/Validate/Run.h"

#include <memory>
#include <string>

namespace Validate {

struct Totals
{
    std::size_t passed = 0;
    std::size_t failed = 0;
    std::size_t notRun = 0;
    double seconds = 0;
};

/// What helps with a check that failed.
struct Advice
{
    std::string recording; ///< the file of its calls and messages, or ""
    std::string repeat;    ///< the command that runs this check again
};

class IReport
{
public:
    virtual ~IReport() = default;

    virtual void ShowPlan(const Plan& plan) = 0;
    virtual void ShowProgress(std::size_t over, std::size_t all, const std::string& name) = 0;
    virtual void ShowResult(const CheckResult& result, const Advice& advice) = 0;
    virtual void ShowTotals(const Totals& totals) = 0;
};

/// "passed", "failed" or "not run".
const char* GetName(Result result);

/// Text for a person; the last line is the verdict. `showsProgress` writes and removes a line of
/// progress on the standard error.
std::unique_ptr<IReport> MakeTextReport(bool isColoured, bool isQuiet, bool showsProgress);

/// One JSON object a line.
std::unique_ptr<IReport> MakeJSONReport();

/// Makes a file, gathers results, and writes them in the form of JUnit at the end. `error` is what
/// went wrong in making or writing the file, or "".
std::unique_ptr<IReport> MakeJUnitReport(const std::string& file, std::string& error);

} // namespace Validate
