// Expat.h - an opinion on documents from a parser that was not written here.
#pragma once

#include <expat.h>
#include <string_view>

namespace ToolsTests {

/// Tells whether expat takes `document` for well-formed XML.
inline bool ExpatAccepts(std::string_view document)
{
    const XML_Parser parser = XML_ParserCreate(nullptr);
    const XML_Status status =
        XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
    XML_ParserFree(parser);
    return status == XML_STATUS_OK;
}

} // namespace ToolsTests
