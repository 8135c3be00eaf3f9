// Filter.cpp - the three respects in which messages are picked.

#include "Tools/Monitor/Filter.h"

#include <algorithm>

namespace Monitor {

std::string Filter::Add(Subject subject, const std::string& value)
{
    Term term;
    term.subject = subject;
    std::string wrong = ReadTermValue(term, value);
    if (wrong.empty()) {
        mTerms.push_back(term);
    }
    return wrong;
}

bool Filter::LetsThrough(const DecodedMessage& message) const
{
    const auto isRightIn = [&](Subject subject) {
        bool isAsked = false;
        bool isRight = false;
        for (const Term& term : mTerms) {
            isAsked = isAsked || term.subject == subject;
            isRight = isRight || (term.subject == subject && term.Holds(message));
        }
        return !isAsked || isRight;
    };
    return isRightIn(Subject::kDevice) && isRightIn(Subject::kParameter) &&
           isRightIn(Subject::kMessage);
}

} // namespace Monitor
