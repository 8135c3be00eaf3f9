// JUnitReport.cpp - a validation as build servers read it: an XML file in the form of JUnit.

#include "Tools/Common/Text.h"
#include "Tools/Host/Validate/Report.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace Validate {
namespace {

using Tools::FormatText;

/// Text as XML takes it, on one line.
std::string Quote(const std::string& text)
{
    std::string quoted;
    for (const char character : Tools::EscapeControls(text)) {
        switch (character) {
        case '&':
            quoted += "&amp;";
            break;
        case '<':
            quoted += "&lt;";
            break;
        case '>':
            quoted += "&gt;";
            break;
        case '"':
            quoted += "&quot;";
            break;
        default:
            // What is printed need not be UTF-8, which XML has to be.
            quoted += static_cast<unsigned char>(character) < 0x80 ? character : '?';
        }
    }
    return quoted;
}

class JUnitReport final : public IReport
{
public:
    JUnitReport(const std::string& file, std::string& error)
        : mStream(file)
        , mError(error)
    {
        mError = mStream ? "" : std::strerror(errno);
    }

    void ShowPlan(const Plan& plan) override { mBundle = plan.bundle; }
    void ShowProgress(std::size_t, std::size_t, const std::string&) override {}
    void ShowResult(const CheckResult& result, const Advice& advice) override;
    void ShowTotals(const Totals& totals) override;

private:
    std::ofstream mStream;
    std::string& mError;
    std::string mBundle;
    std::string mCases;
};

void JUnitReport::ShowResult(const CheckResult& result, const Advice& advice)
{
    mCases += FormatText("    <testcase classname=\"%s\" name=\"%s\" time=\"%.3f\"",
                         result.check->tag, result.check->name.c_str(), result.outcome.seconds);
    if (result.result == Result::kPassed) {
        mCases += "/>\n";
        return;
    }
    mCases += ">\n";
    if (result.result == Result::kNotRun) {
        mCases += "      <skipped/>\n";
    } else {
        mCases += "      <failure message=\"" + Quote(result.outcome.finding) +
                  "\">rule: " + Quote(result.check->rule) +
                  "\nlast call: " + Quote(result.outcome.lastCall) +
                  "\nrepeat: " + Quote(advice.repeat) + "</failure>\n";
        if (const std::string text = result.outcome.output; !text.empty()) {
            mCases += "      <system-out>" + Quote(text) + "</system-out>\n";
        }
        if (const std::string text = result.outcome.errors; !text.empty()) {
            mCases += "      <system-err>" + Quote(text) + "</system-err>\n";
        }
    }
    mCases += "    </testcase>\n";
}

void JUnitReport::ShowTotals(const Totals& totals)
{
    const std::string counts =
        FormatText("tests=\"%zu\" failures=\"%zu\" skipped=\"%zu\" errors=\"0\" time=\"%.3f\"",
                   totals.passed + totals.failed + totals.notRun, totals.failed, totals.notRun,
                   totals.seconds);
    mStream << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n  <testsuite name=\""
            << Quote(mBundle) << "\" " << counts << ">\n"
            << mCases << "  </testsuite>\n</testsuites>\n";
    mStream.close();
    if (!mStream) {
        mError = std::strerror(errno);
    }
}

} // namespace

std::unique_ptr<IReport> MakeJUnitReport(const std::string& file, std::string& error)
{
    return std::make_unique<JUnitReport>(file, error);
}

} // namespace Validate
