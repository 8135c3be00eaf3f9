// FuzzMessageDecoder.cpp - arbitrary documents and messages for the monitor's decoder.
//
// The first byte chooses what the rest is: 'd' for a document, anything else for a message.

#include "FuzzCheck.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Monitor/MessageDecoder.h"

#ifdef QX_HAS_EXPAT
#include "Tests/Tools/Monitor/Expat.h"
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

/// The fields lie one after the other from the message's start.
void CheckFields(const Monitor::DecodedMessage& message)
{
    std::size_t offset = 0;
    for (const Monitor::Field& field : message.fields) {
        FUZZ_CHECK(field.offset == offset);
        FUZZ_CHECK(field.size > 0);
        offset += field.size;
    }
    FUZZ_CHECK(offset <= message.bytes.size());
    FUZZ_CHECK(!message.IsWellFormed() || offset == message.bytes.size());
}

void CheckFindings(const Monitor::DecodedMessage& message)
{
    for (const Monitor::Finding& finding : message.findings) {
        const bool isInMessage = finding.place == Monitor::Place::kMessage;
        FUZZ_CHECK(finding.offset <= (isInMessage ? message.bytes.size() : message.dataSize));
    }
}

/// What counts as well formed has exactly the size and the value that its parameter takes.
void CheckValue(const Monitor::DecodedMessage& message)
{
    if (!message.IsWellFormed()) {
        return;
    }
    const bool isLevel = static_cast<UInt32>(*message.parameter) == kDirectMonitorLevelParameter;
    FUZZ_CHECK(message.bytes.size() == kMessageOverhead + (isLevel ? kLevelRecordSize : 4));
    FUZZ_CHECK(std::holds_alternative<Monitor::Levels>(message.value) == isLevel);
    FUZZ_CHECK(std::holds_alternative<SInt64>(message.value) != isLevel);
}

/// A document of which nothing is wrong is XML for expat too, a parser that was not written here.
void CheckIsXML([[maybe_unused]] const Monitor::DecodedMessage& message,
                [[maybe_unused]] std::string_view document)
{
#ifdef QX_HAS_EXPAT
    const bool hasFinding =
        std::any_of(message.findings.begin(), message.findings.end(),
                    [](const auto& finding) { return finding.place == Monitor::Place::kDocument; });
    FUZZ_CHECK(hasFinding || ToolsTests::ExpatAccepts(document));
#endif
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    Monitor::DecodedMessage message;
    if (*data == 'd') {
        message = Monitor::DecodeRequest(kSetParameterMessage, data + 1, size - 1);
        CheckIsXML(message, {reinterpret_cast<const char*>(data + 1), size - 1});
    } else {
        message.bytes.assign(data + 1, data + size);
        Monitor::DecodeSetParameter(message);
    }
    CheckFields(message);
    CheckFindings(message);
    CheckValue(message);
    return 0;
}
