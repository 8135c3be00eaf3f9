// Expression.cpp - terms and how they are joined.

#include "Tools/Monitor/Expression.h"

#include "Tools/Common/Nearest.h"

#include <algorithm>
#include <string_view>

namespace Monitor {
namespace {

constexpr std::pair<const char*, Subject> kSubjects[] = {
    {"device", Subject::kDevice},       {"channel", Subject::kChannel},
    {"parameter", Subject::kParameter}, {"message", Subject::kMessage},
    {"enable", Subject::kEnable},       {"state", Subject::kState},
    {"level", Subject::kLevel},         {"malformed", Subject::kMalformed},
};

/// The longer ones come first.
constexpr std::pair<std::string_view, Comparison> kComparisons[] = {
    {"!=", Comparison::kUnequal},
    {"<=", Comparison::kLessOrEqual},
    {">=", Comparison::kGreaterOrEqual},
    {"=", Comparison::kEqual},
    {"<", Comparison::kLess},
    {">", Comparison::kGreater},
};
constexpr const char* kBlanks = " \t";
constexpr const char* kComparisonCharacters = "!=<>";

std::string Trim(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return "";
    }
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) + 1 - first));
}

/// The texts between commas and words "and".
std::vector<std::string> SplitTerms(std::string_view text)
{
    std::vector<std::string> terms;
    std::string term;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \t,"), text.size());
        const std::string_view word = text.substr(0, end);
        const bool isComma = end < text.size() && text[end] == ',';
        if (word == "and") {
            terms.push_back(Trim(term));
            term.clear();
        } else {
            term += word;
            term += ' ';
        }
        if (isComma) {
            terms.push_back(Trim(term));
            term.clear();
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    terms.push_back(Trim(term));
    return terms;
}

/// Reads the subject of a term. Returns what is wrong, or "".
std::string ReadSubject(Term& term, const std::string& name)
{
    const auto* const found = std::ranges::find(
        kSubjects, name, [](const auto& subject) { return std::string(subject.first); });
    if (found != std::end(kSubjects)) {
        term.subject = found->second;
        return "";
    }
    std::vector<std::string> names;
    for (const auto& [known, subject] : kSubjects) {
        names.emplace_back(known);
    }
    return "there is no \"" + name + "\"; " + Tools::SuggestNearest(name, names) +
           "there are device, channel, parameter, message, enable, state, level and malformed";
}

/// Reads a term. Returns what is wrong, or "".
std::string ReadTerm(Term& term, const std::string& text)
{
    if (text.empty()) {
        return "a term is missing";
    }
    const std::size_t end = std::min(text.find_first_of(kComparisonCharacters), text.size());
    const std::string name = Trim(std::string_view(text).substr(0, end));
    if (std::string wrong = ReadSubject(term, name); !wrong.empty()) {
        return wrong;
    }
    const std::string_view rest = std::string_view(text).substr(end);
    if (term.subject == Subject::kMalformed) {
        return rest.empty() ? "" : "malformed stands alone";
    }
    const auto* const comparison = std::ranges::find_if(
        kComparisons, [&](const auto& known) { return rest.starts_with(known.first); });
    if (comparison == std::end(kComparisons)) {
        return name + " is to be followed by = != < <= > or >=";
    }
    term.comparison = comparison->second;
    const bool isName = term.subject == Subject::kParameter || term.subject == Subject::kMessage;
    if (isName && term.comparison != Comparison::kEqual &&
        term.comparison != Comparison::kUnequal) {
        return name + " can be compared with = and != only";
    }
    const std::string value = Trim(rest.substr(comparison->first.size()));
    if (value.empty()) {
        return "a value is missing after " + text;
    }
    return ReadTermValue(term, value);
}

} // namespace

std::optional<Expression> Expression::Parse(const std::string& text, std::string& error)
{
    Expression expression;
    for (const std::string& termText : SplitTerms(text)) {
        Term term;
        error = ReadTerm(term, termText);
        if (!error.empty()) {
            return std::nullopt;
        }
        expression.mTerms.push_back(term);
    }
    return expression;
}

bool Expression::Holds(const DecodedMessage& message) const
{
    return std::ranges::all_of(mTerms, [&](const Term& term) { return term.Holds(message); });
}

} // namespace Monitor
