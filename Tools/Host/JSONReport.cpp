// JSONReport.cpp - the host's output for a program: one JSON object a line.

#include "Tools/Common/JSONLine.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Host/Report.h"
#include "Tools/Host/Status.h"

namespace Host {
namespace {

using JSON = nlohmann::ordered_json;

constexpr int kVersion = 1;

void Print(const JSON& object)
{
    Tools::PrintLine(Tools::WriteJSON(object));
}

void AddProperty(JSON& object, const Step& step)
{
    object["channel"] = step.channel;
    object["input"] = step.isInput != 0;
    object["selector"] = step.property;
    object["property"] = Tools::FormatFourCharCode(step.property);
    object["name"] = GetProperty(step.property).name;
    object["size"] = step.size;
    if (step.action == Action::kSet || step.action == Action::kStreamSet) {
        object["value"] = step.valueText;
        object["data"] = Tools::FormatHex(step.data.data(), step.data.size());
    }
}

class JSONReport final : public IReport
{
public:
    explicit JSONReport(bool isOwn)
        : mIsOwn(isOwn)
    {}

    void ShowPlugIn(const std::string& path) override
    {
        Print({{"schemaVersion", kVersion}, {"event", "plugin"}, {"path", path}});
    }

    void ShowServer(const std::string& portName, bool isThere, bool) override
    {
        Print({{"schemaVersion", kVersion},
               {"event", "server"},
               {"port", portName},
               {"running", isThere}});
    }

    void ShowCall(std::size_t number, const Step& step, const CallResult& result) override;

    void ShowTotals(const Totals& totals) override
    {
        Print({{"schemaVersion", kVersion},
               {"event", "summary"},
               {"calls", totals.calls},
               {"unexpected", totals.unexpected},
               {"shortestMicroseconds", Tools::RoundDecimals(totals.shortest, 3)},
               {"longestMicroseconds", Tools::RoundDecimals(totals.longest, 3)},
               {"totalMicroseconds", Tools::RoundDecimals(totals.sum, 3)}});
    }

    void ShowEnd(const std::string& how, const ChildEnd& end, const std::string& gdb) override
    {
        Print({{"schemaVersion", kVersion},
               {"event", "end"},
               {"text", how},
               {"call", end.call},
               {"inCall", end.isInCall},
               {"signal", end.signal},
               {"exitCode", end.exitCode},
               {"debug", gdb}});
    }

private:
    const bool mIsOwn;
};

void JSONReport::ShowCall(std::size_t number, const Step& step, const CallResult& result)
{
    JSON object = {{"schemaVersion", kVersion},
                   {"event", "call"},
                   {"number", number},
                   {"entryPoint", GetEntryPointName(step.action)},
                   {"device", result.device}};
    if (step.action != Action::kOpen && step.action != Action::kClose) {
        AddProperty(object, step);
    }
    if (result.exception.empty()) {
        object["status"] = result.status;
        object["code"] = Tools::FormatFourCharCode(static_cast<UInt32>(result.status));
        object["explanation"] = ExplainFor(result.status, mIsOwn);
    } else {
        object["exception"] = result.exception;
    }
    if (step.action == Action::kInfo) {
        object["outSize"] = result.size;
        object["outWritable"] = result.isWritable != 0;
    }
    if (!result.data.empty()) {
        object["outData"] = Tools::FormatHex(result.data.data(), result.data.size());
    }
    if (result.overrun > 0) {
        object["overrun"] = result.overrun;
    }
    object["expected"] = step.isAnyExpected ? JSON() : JSON(step.expected);
    object["asExpected"] = result.isAsExpected;
    object["microseconds"] = Tools::RoundDecimals(result.microseconds, 3);
    Print(object);
}

} // namespace

std::unique_ptr<IReport> MakeJSONReport(bool isOwn)
{
    return std::make_unique<JSONReport>(isOwn);
}

} // namespace Host
