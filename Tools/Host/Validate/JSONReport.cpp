// JSONReport.cpp - a validation for a program: one JSON object a line.

#include "Tools/Common/JSONLine.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Validate/Report.h"

namespace Validate {
namespace {

using JSON = nlohmann::ordered_json;

constexpr int kVersion = 1;

void Print(const JSON& object)
{
    Tools::PrintLine(Tools::WriteJSON(object));
}

class JSONReport final : public IReport
{
public:
    void ShowPlan(const Plan& plan) override
    {
        Print({{"schemaVersion", kVersion},
               {"event", "plan"},
               {"bundle", plan.bundle},
               {"profile", plan.profile.name},
               {"checks", plan.checks.size() * static_cast<std::size_t>(plan.repeat)}});
    }

    void ShowProgress(std::size_t, std::size_t, const std::string&) override {}

    void ShowResult(const CheckResult& result, const Advice& advice) override;

    void ShowTotals(const Totals& totals) override
    {
        Print({{"schemaVersion", kVersion},
               {"event", "verdict"},
               {"passed", totals.passed},
               {"failed", totals.failed},
               {"notRun", totals.notRun},
               {"seconds", Tools::RoundDecimals(totals.seconds, 6)}});
    }
};

void JSONReport::ShowResult(const CheckResult& result, const Advice& advice)
{
    JSON object = {{"schemaVersion", kVersion},  {"event", "check"},
                   {"name", result.check->name}, {"tag", result.check->tag},
                   {"rule", result.check->rule}, {"result", GetName(result.result)}};
    if (result.result != Result::kNotRun) {
        object["seconds"] = Tools::RoundDecimals(result.outcome.seconds, 6);
    }
    if (result.result == Result::kFailed) {
        object["finding"] = result.outcome.finding;
        object["lastCall"] = result.outcome.lastCall;
        object["output"] = result.outcome.output;
        object["errors"] = result.outcome.errors;
        object["recording"] = advice.recording;
        object["repeat"] = advice.repeat;
    }
    Print(object);
}

} // namespace

std::unique_ptr<IReport> MakeJSONReport()
{
    return std::make_unique<JSONReport>();
}

} // namespace Validate
