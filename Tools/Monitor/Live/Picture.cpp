// Picture.cpp - the title, the table of devices, the bars and the line of keys.

#include "Tools/Monitor/Live/Picture.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/Columns.h"
#include "Tools/Monitor/ValueText.h"

#include <algorithm>
#include <cmath>

namespace Monitor {
namespace {

using Tools::FormatText;

// A bar is empty at this level and below, and full at 0 dB.
constexpr double kLowestDecibels = -60;

constexpr const char* kHelp[] = {
    "Keys",
    "  ? or h              this help, and back",
    "  s                   sort by device, rate or malformed messages, in turn",
    "  f                   freeze the picture, and back; messages are still taken",
    "  /                   show only devices whose number or sender contains a text;",
    "                      Enter takes it, Esc keeps the old one, no text shows all",
    "  arrows, Page Up and Page Down",
    "                      show other lines, if there are more than fit",
    "  q                   quit, and show the last states",
    "",
    "enable, state         the last values that were set; - if none was",
    "rate/s                messages a second; a message counts less, the older it is",
    "malformed             messages of the device with something wrong in them",
    "sender                the process of the device's last message, and its program",
    "bars                  from -60 dB, empty, to 0 dB; above 0 dB they end with +",
};

/// A line that is written from left to right.
class LineWriter
{
public:
    explicit LineWriter(std::size_t columns, Style style = Style::kPlain)
        : mLine(columns, Cell{' ', style})
    {}

    LineWriter& Write(const std::string& text, Style style = Style::kPlain)
    {
        for (const char character : text) {
            if (mEnd < mLine.size()) {
                mLine[mEnd++] = {character, style};
            }
        }
        return *this;
    }

    /// Writes so that the text ends with the line, if it finds room there.
    LineWriter& WriteAtEnd(const std::string& text, Style style)
    {
        if (mEnd + 1 + text.size() <= mLine.size()) {
            mEnd = mLine.size() - text.size();
            Write(text, style);
        }
        return *this;
    }

    const Line& Get() const { return mLine; }

private:
    Line mLine;
    std::size_t mEnd = 0;
};

/// The text with everything but printable characters of ASCII escaped: each then takes one cell.
std::string ToCells(const std::string& text)
{
    std::string cells;
    for (const char character : Tools::EscapeControls(text)) {
        const unsigned char byte = static_cast<unsigned char>(character);
        cells += byte < 0x80 ? std::string(1, character) : FormatText("\\x%02X", byte);
    }
    return cells;
}

/// What is known of a device; either may be null, but not both.
struct Row
{
    UInt32 device = 0;
    const DeviceState* state = nullptr;
    const Traffic* traffic = nullptr;

    double GetRate(double now) const { return traffic != nullptr ? traffic->rate.Get(now) : 0; }
    std::size_t GetMalformed() const { return traffic != nullptr ? traffic->malformed : 0; }
    std::string GetSender() const
    {
        if (traffic == nullptr || traffic->sender.process == 0) {
            return "-";
        }
        return FormatText("%d ", static_cast<int>(traffic->sender.process)) +
               ToCells(traffic->sender.program);
    }
};

std::vector<Row> MakeRows(const LiveState& state, const View& view, double now)
{
    std::map<UInt32, Row> all;
    for (const auto& [id, device] : state.GetTable().GetDevices()) {
        all[id] = {id, &device, nullptr};
    }
    for (const auto& [id, traffic] : state.GetTraffic()) {
        Row& row = all[id];
        row.device = id;
        row.traffic = &traffic;
    }
    std::vector<Row> rows;
    for (const auto& [id, row] : all) {
        if (std::to_string(id).find(view.filter) != std::string::npos ||
            row.GetSender().find(view.filter) != std::string::npos) {
            rows.push_back(row);
        }
    }
    if (view.order == Order::kRate) {
        std::ranges::stable_sort(rows, std::ranges::greater(),
                                 [&](const Row& row) { return row.GetRate(now); });
    } else if (view.order == Order::kMalformed) {
        std::ranges::stable_sort(rows, std::ranges::greater(), &Row::GetMalformed);
    }
    return rows;
}

std::string FormatRate(double rate)
{
    constexpr double kMostWithDigits = 9999.95;
    return FormatText(rate < kMostWithDigits ? "%.1f" : "%.0f", rate);
}

Line MakeDeviceLine(const Row& row, std::size_t columns, double now)
{
    const auto formatSwitch = [](const std::optional<SInt64>& value) {
        return value ? std::to_string(*value) : std::string("-");
    };
    const DeviceState none;
    const DeviceState& state = row.state != nullptr ? *row.state : none;
    const std::size_t malformed = row.GetMalformed();
    return LineWriter(columns)
        .Write(FormatText(" %-10s", std::to_string(row.device).c_str()), Style::kStrong)
        .Write(FormatText(" %11s %11s %7s", formatSwitch(state.enable).c_str(),
                          formatSwitch(state.state).c_str(), FormatRate(row.GetRate(now)).c_str()))
        .Write(FormatText(" %9zu  ", malformed), malformed > 0 ? Style::kBad : Style::kPlain)
        .Write(row.GetSender())
        .Get();
}

/// A level and its bar, with a blank before them.
void WriteLevel(LineWriter& line, double level, std::size_t width)
{
    const double part = std::clamp(1 - level / kLowestDecibels, 0.0, 1.0);
    std::string bar;
    if (std::isnan(level)) {
        bar = "?";
    } else {
        bar.assign(static_cast<std::size_t>(std::lround(part * static_cast<double>(width))), '#');
    }
    const bool isOver = level > 0;
    if (isOver) {
        bar.back() = '+';
    }
    bar.resize(width, ' ');
    line.Write(FormatText(" %10s [", FormatShortDecibels(level).c_str()))
        .Write(bar, isOver ? Style::kWarning : Style::kGood)
        .Write("]");
}

Line MakeChannelLine(const Levels& levels, std::size_t columns)
{
    // "   ch 4294967295", and for each level " -100.00 dB [" and "]".
    constexpr std::size_t kFixedColumns = 16 + 2 * 14;
    constexpr std::size_t kLeastWidth = 4;
    const std::size_t width = columns > kFixedColumns
                                  ? std::max(kLeastWidth, (columns - kFixedColumns) / 2)
                                  : kLeastWidth;
    LineWriter line(columns);
    line.Write(FormatText("   %-13s", FormatShortChannel(levels.channelIndex).c_str()));
    WriteLevel(line, levels.first, width);
    WriteLevel(line, levels.second, width);
    return line.Get();
}

std::vector<Line> MakeBody(const LiveState& state, const View& view, double now)
{
    std::vector<Line> body;
    if (view.isHelp) {
        for (const char* const text : kHelp) {
            body.push_back(LineWriter(view.columns).Write(text).Get());
        }
        return body;
    }
    for (const Row& row : MakeRows(state, view, now)) {
        body.push_back(MakeDeviceLine(row, view.columns, now));
        if (row.state != nullptr) {
            for (const auto& [channel, levels] : row.state->levels) {
                body.push_back(MakeChannelLine(levels, view.columns));
            }
        }
    }
    if (body.empty()) {
        const char* const text =
            view.filter.empty() ? "No device has sent anything." : "No device matches the filter.";
        body.push_back(LineWriter(view.columns).Write(" ").Write(text, Style::kFaint).Get());
    }
    return body;
}

Line MakeTotals(const LiveState& state, std::size_t columns, double now)
{
    const StateTable& table = state.GetTable();
    const std::size_t malformed = table.GetMalformed();
    LineWriter line(columns);
    line.Write(" " + Tools::Count(table.GetReceived(), "message") + "  " +
               FormatRate(state.GetRate(now)) + "/s  ")
        .Write(FormatText("%zu malformed", malformed), malformed > 0 ? Style::kBad : Style::kPlain)
        .Write(FormatText("  'OpLM' %zu  'ClLM' %zu", table.GetOpens(), table.GetCloses()));
    if (table.GetLeftOut() > 0) {
        line.Write(FormatText("  %zu left out", table.GetLeftOut()));
    }
    if (table.GetUnkept() > 0) {
        line.Write(FormatText("  %zu not kept", table.GetUnkept()), Style::kBad);
    }
    return line.Get();
}

Line MakeKeys(const View& view, std::size_t shown, std::size_t all)
{
    LineWriter line(view.columns, Style::kTitle);
    if (view.isTyping) {
        return line.Write(" show only: " + view.typed + "_", Style::kTitle).Get();
    }
    line.Write(std::string(" ? help  s sort: ") + GetName(view.order) + "  f freeze  / filter" +
                   (view.filter.empty() ? "" : ": " + view.filter) + "  q quit",
               Style::kTitle);
    if (shown < all) {
        line.WriteAtEnd(FormatText("%zu-%zu of %zu ", view.first + 1, view.first + shown, all),
                        Style::kTitle);
    }
    return line.Get();
}

} // namespace

Picture MakePicture(const LiveState& state, const View& view, double now)
{
    constexpr std::size_t kHeadLines = 3;
    constexpr const char* kHeadings =
        " device          enable       state  rate/s malformed  sender";
    const std::size_t columns = view.columns;
    Picture picture;
    std::vector<Line>& lines = picture.lines;
    LineWriter title(columns, Style::kTitle);
    title.Write(CutToColumns(" qxmon  " + ToCells(view.port), std::max<std::size_t>(columns, 3)),
                Style::kTitle);
    if (view.isFrozen) {
        title.WriteAtEnd("FROZEN ", Style::kTitle);
    }
    lines.push_back(title.Get());
    lines.push_back(MakeTotals(state, columns, now));
    lines.push_back(LineWriter(columns).Write(view.isHelp ? "" : kHeadings, Style::kStrong).Get());
    const std::vector<Line> body = MakeBody(state, view, now);
    const bool isText = view.rows == 0;
    const std::size_t room = isText                       ? body.size()
                             : view.rows > kHeadLines + 1 ? view.rows - kHeadLines - 1
                                                          : 0;
    View shownView = view;
    shownView.first = std::min(view.first, body.size() - std::min(room, body.size()));
    const std::size_t shown = std::min(room, body.size() - shownView.first);
    const auto begin = body.begin() + static_cast<std::ptrdiff_t>(shownView.first);
    lines.insert(lines.end(), begin, begin + static_cast<std::ptrdiff_t>(shown));
    if (!isText) {
        lines.resize(view.rows, Line(columns));
        lines.back() = MakeKeys(shownView, shown, body.size());
    }
    picture.first = shownView.first;
    return picture;
}

std::string GetText(const Line& line)
{
    std::string text;
    for (const Cell& cell : line) {
        text.push_back(cell.character);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

} // namespace Monitor
