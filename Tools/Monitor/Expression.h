// Expression.h - what the monitor's --until waits for.
//
//     expression = term { ( "," | "and" ) term }
//     term       = "malformed" | subject comparison value
//     subject    = "device" | "channel" | "parameter" | "message" | "enable" | "state" | "level"
//     comparison = "=" | "!=" | "<" | "<=" | ">" | ">="
//
//     std::string error;
//     const auto expression = Expression::Parse("device=258 and level<-20", error);
//     expression->Holds(message);
#pragma once

#include "Tools/Monitor/Term.h"

namespace Monitor {

/// Terms that have to hold together, for one and the same message.
class Expression
{
public:
    /// Returns nothing, and what is wrong in `error`, if the text is no expression.
    static std::optional<Expression> Parse(const std::string& text, std::string& error);

    bool Holds(const DecodedMessage& message) const;

private:
    std::vector<Term> mTerms;
};

} // namespace Monitor
