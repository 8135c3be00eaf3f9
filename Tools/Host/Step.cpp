// Step.cpp - properties, values and the steps made of them.

#include "Tools/Host/Step.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Nearest.h"
#include "Tools/Host/Status.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <charconv>
#include <cstring>

namespace Host {
namespace {

constexpr Property kProperties[] = {
    {kDirectMonitorEnableProperty, kDirectMonitorEnableSize, false, "enable"},
    {kDirectMonitorLevelProperty, kDirectMonitorLevelSize, true, "level"},
    {kDirectMonitorStateProperty, kDirectMonitorStateSize, false, "state"},
};

void AppendBytes(std::vector<unsigned char>& bytes, const void* data, std::size_t size)
{
    const auto* const first = static_cast<const unsigned char*>(data);
    bytes.insert(bytes.end(), first, first + size);
}

std::optional<UInt32> ParseSwitch(const std::string& word)
{
    if (word == "on" || word == "off") {
        return word == "on" ? 1u : 0u;
    }
    return ParseWord(word);
}

std::optional<Float32> ParseGain(const std::string& word)
{
    Float32 gain = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, gain);
    return error == std::errc() && stop == end ? std::optional<Float32>(gain) : std::nullopt;
}

} // namespace

std::vector<std::string> GetPropertyNames()
{
    std::vector<std::string> names;
    for (const Property& property : kProperties) {
        names.emplace_back(property.name);
    }
    return names;
}

std::optional<Property> FindProperty(std::string_view text)
{
    for (const Property& property : kProperties) {
        if (text == property.name) {
            return property;
        }
    }
    const bool isQuoted = text.starts_with('\'');
    if (!isQuoted && !Tools::FindNearest(std::string(text), GetPropertyNames()).empty()) {
        return std::nullopt;
    }
    std::optional<UInt32> selector = ParseFourCharCode(text);
    if (!selector && text.starts_with("0x")) {
        selector = ParseWord(text);
    }
    return selector ? std::optional<Property>(GetProperty(*selector)) : std::nullopt;
}

Property GetProperty(UInt32 selector)
{
    for (const Property& property : kProperties) {
        if (selector == property.selector) {
            return property;
        }
    }
    return {selector, sizeof(UInt32), false, ""};
}

Step MakeStep(Action action, const Property& property)
{
    Step step;
    step.action = action;
    step.property = property.selector;
    step.channel = property.isLevel ? 1 : 0;
    step.size = property.size;
    switch (action) {
    case Action::kGet:
        step.expected = kAudioHardwareUnsupportedOperationError;
        break;
    case Action::kStreamSet:
        step.data.resize(property.size);
        [[fallthrough]];
    case Action::kStreamInfo:
    case Action::kStreamGet:
        step.expected = kAudioHardwareUnknownPropertyError;
        break;
    default:
        break;
    }
    return step;
}

bool SetValue(Step& step, const Property& property, const std::vector<std::string>& words)
{
    std::vector<unsigned char> data;
    std::string text;
    if (words.size() != (property.isLevel ? 2u : 1u)) {
        return false;
    }
    for (const std::string& word : words) {
        if (property.isLevel) {
            const std::optional<Float32> gain = ParseGain(word);
            if (!gain) {
                return false;
            }
            AppendBytes(data, &*gain, sizeof *gain);
        } else {
            const std::optional<UInt32> number = ParseSwitch(word);
            if (!number) {
                return false;
            }
            AppendBytes(data, &*number, sizeof *number);
        }
        text += (text.empty() ? "" : " ") + word;
    }
    step.data = std::move(data);
    step.valueText = std::move(text);
    step.size = static_cast<UInt32>(step.data.size());
    return true;
}

void SetSize(Step& step, UInt32 size)
{
    step.size = size;
    if (step.action == Action::kSet || step.action == Action::kStreamSet) {
        step.data.resize(size);
    }
}

} // namespace Host
