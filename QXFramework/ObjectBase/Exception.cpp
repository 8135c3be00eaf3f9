// Exception.cpp - the framework side of exceptions and the composition of their texts.

#include <QX/Exception.h>

namespace QX {

ExceptionBase::~ExceptionBase() = default;

const char* ExceptionBase::What() const
{
    const auto* standard = dynamic_cast<const std::exception*>(this);
    return standard != nullptr ? standard->what() : "";
}

std::string ComposeExceptionText(const char* kind, std::string_view message, ThrowSite site)
{
    std::string text(kind);
    if (!message.empty()) {
        text.append(message).append(" : ");
    }
    return text.append(" : ")
        .append(site.path)
        .append(" : Line ")
        .append(std::to_string(site.line));
}

} // namespace QX
