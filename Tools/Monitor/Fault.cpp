// Fault.cpp - profiles by name.

#include "Tools/Monitor/Fault.h"

#include "Tools/Common/Nearest.h"

#include <charconv>
#include <iterator>

namespace Monitor {
namespace {

struct Name
{
    const char* name;
    const char* number; ///< what its number is, or null if it has none
    double least;
    double most;
    Profile profile;
    bool needsNumber;
};

constexpr Name kNames[] = {
    {"slow", "a number of seconds from 0.001 to 3600", 0.001, 3600, Profile::kSlow, false},
    {"silent", nullptr, 0, 0, Profile::kSilent, false},
    {"refuse", "a number of messages from 0 to 1000000", 0, 1e6, Profile::kRefuse, false},
    {"die-after", "a number of messages from 1 to 1000000", 1, 1e6, Profile::kDieAfter, true},
    {"garbage-reply", nullptr, 0, 0, Profile::kGarbageReply, false},
};

const Name* FindName(const std::string& word)
{
    for (const Name& name : kNames) {
        if (word == name.name) {
            return &name;
        }
    }
    return nullptr;
}

/// Reads a number of the profile's kind: whole messages, or seconds.
template <class Number>
bool ReadNumber(const std::string& text, const Name& name, Number& number)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const auto value = static_cast<double>(number);
    return error == std::errc() && stop == end && value >= name.least && value <= name.most;
}

} // namespace

Fault ReadFault(const std::vector<std::string>& words, std::string& wrong)
{
    Fault fault;
    const Name* const name = FindName(words.front());
    if (name == nullptr) {
        std::vector<std::string> names;
        for (const Name& known : kNames) {
            names.emplace_back(known.name);
        }
        wrong = "there is no profile \"" + words.front() + "\"; " +
                Tools::SuggestNearest(words.front(), names) +
                "there are slow, silent, refuse, die-after and garbage-reply";
        return fault;
    }
    fault.profile = name->profile;
    const bool hasNumber = words.size() > 1;
    if (hasNumber && name->number == nullptr) {
        wrong = std::string(name->name) + " takes no number";
    } else if (!hasNumber && name->needsNumber) {
        wrong = std::string(name->name) + " needs " + name->number;
    } else if (hasNumber &&
               !(fault.profile == Profile::kSlow ? ReadNumber(words[1], *name, fault.seconds)
                                                 : ReadNumber(words[1], *name, fault.messages))) {
        wrong = "\"" + words[1] + "\" is not " + name->number;
    }
    return fault;
}

} // namespace Monitor
