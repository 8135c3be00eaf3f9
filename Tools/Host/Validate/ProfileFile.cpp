// ProfileFile.cpp - a profile's JSON, field by field.

#include "Tools/Host/Validate/ProfileFile.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Status.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <initializer_list>
#include <set>
#include <stdexcept>
#include <string_view>

namespace Validate {
namespace {

using JSON = nlohmann::ordered_json;
using Tools::FormatText;

constexpr int kProfileVersion = 1;

/// An object of the file and where it is.
class Node
{
public:
    Node(const JSON& value, std::string place, std::initializer_list<std::string_view> keys);

    /// Throws: std::runtime_error with the place and that text.
    [[noreturn]] void Refuse(const char* key, const std::string& text) const;

    bool Has(const char* key) const { return mValue.contains(key); }
    const JSON& Take(const char* key, bool (JSON::*isKind)() const noexcept,
                     const char* kind) const;
    std::string GetText(const char* key) const;
    bool GetFlag(const char* key) const;
    SInt32 GetStatus(const char* key) const;
    UInt32 GetCode(const char* key) const;
    /// The place in `words` of a key's text.
    std::size_t GetChoice(const char* key, std::initializer_list<const char*> words) const;
    std::string GetPlace(const char* key) const;

private:
    const JSON& mValue;
    const std::string mPlace;
};

Node::Node(const JSON& value, std::string place, std::initializer_list<std::string_view> keys)
    : mValue(value)
    , mPlace(std::move(place))
{
    if (!value.is_object()) {
        throw std::runtime_error((mPlace.empty() ? "the profile" : mPlace) + " is not an object");
    }
    for (const auto& [key, unused] : value.items()) {
        if (std::ranges::find(keys, key) == keys.end()) {
            Refuse(key.c_str(), "there is no such field");
        }
    }
}

std::string Node::GetPlace(const char* key) const
{
    return mPlace + (mPlace.empty() ? "" : ".") + key;
}

void Node::Refuse(const char* key, const std::string& text) const
{
    throw std::runtime_error(Tools::EscapeControls(GetPlace(key) + ": " + text));
}

const JSON& Node::Take(const char* key, bool (JSON::*isKind)() const noexcept,
                       const char* kind) const
{
    const auto found = mValue.find(key);
    if (found == mValue.end()) {
        Refuse(key, "the field is missing");
    }
    if (!((*found).*isKind)()) {
        Refuse(key, std::string("it is not ") + kind);
    }
    return *found;
}

std::string Node::GetText(const char* key) const
{
    auto text = Take(key, &JSON::is_string, "a text").get<std::string>();
    if (text.empty()) {
        Refuse(key, "it is empty");
    }
    return text;
}

bool Node::GetFlag(const char* key) const
{
    return Take(key, &JSON::is_boolean, "true or false").get<bool>();
}

SInt32 Node::GetStatus(const char* key) const
{
    const auto found = mValue.find(key);
    const bool isNumber = found != mValue.end() && found->is_number_integer();
    const std::string text = isNumber ? found->dump() : GetText(key);
    const std::optional<SInt32> status = Host::ParseStatus(text);
    if (!status) {
        Refuse(key, "\"" + text + "\" is no status: ok, a number, or four characters");
    }
    return *status;
}

UInt32 Node::GetCode(const char* key) const
{
    const std::string text = GetText(key);
    const std::optional<UInt32> code =
        text.starts_with("0x") ? Host::ParseWord(text) : Host::ParseFourCharCode(text);
    if (!code) {
        Refuse(key, "\"" + text + "\" is no code of four characters");
    }
    return *code;
}

std::size_t Node::GetChoice(const char* key, std::initializer_list<const char*> words) const
{
    const std::string text = GetText(key);
    std::string all;
    std::size_t index = 0;
    for (const char* const word : words) {
        if (text == word) {
            return index;
        }
        all += (index++ == 0 ? "" : ", ") + std::string(word);
    }
    Refuse(key, "\"" + text + "\" is not one of " + all);
}

MessageRule ReadMessage(const JSON& value, const std::string& place)
{
    const Node node(value, place, {"id", "when", "parameter"});
    MessageRule rule;
    rule.id = static_cast<SInt32>(node.GetCode("id"));
    if (node.Has("when")) {
        rule.when =
            static_cast<MessageRule::When>(node.GetChoice("when", {"always", "non-zero", "zero"}));
    }
    rule.hasParameter = node.Has("parameter");
    if (rule.hasParameter) {
        rule.parameter = node.GetStatus("parameter");
    }
    return rule;
}

void ReadStatuses(const Node& node, PropertyRules& property)
{
    property.get = node.GetStatus("get");
    property.getOnOutput = node.GetStatus("getOnOutput");
    property.setOnOutput = node.GetStatus("setOnOutput");
    property.setWithoutServer = node.GetStatus("setWithoutServer");
    if (property.isMasterOnly) {
        property.getOnOtherChannel = node.GetStatus("getOnOtherChannel");
        property.setOnOtherChannel = node.GetStatus("setOnOtherChannel");
    }
}

PropertyRules ReadProperty(const JSON& value, const std::string& place)
{
    const Node node(value, place,
                    {"name", "selector", "value", "writable", "channels", "statuses", "messages"});
    PropertyRules property;
    property.name = node.GetText("name");
    const bool isWord = std::ranges::all_of(property.name, [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9') ||
               character == '-';
    });
    if (!isWord) {
        node.Refuse("name", "it is part of the checks' names: small letters, digits and hyphens");
    }
    property.selector = node.GetCode("selector");
    property.value = static_cast<PropertyRules::Value>(node.GetChoice("value", {"word", "gains"}));
    property.isWritable = node.GetFlag("writable");
    property.isMasterOnly = node.GetChoice("channels", {"master", "any"}) == 0;
    ReadStatuses(Node(node.Take("statuses", &JSON::is_object, "an object"),
                      node.GetPlace("statuses"),
                      {"get", "getOnOutput", "setOnOutput", "setWithoutServer", "getOnOtherChannel",
                       "setOnOtherChannel"}),
                 property);
    std::size_t index = 0;
    for (const JSON& message : node.Take("messages", &JSON::is_array, "a list")) {
        property.messages.push_back(
            ReadMessage(message, node.GetPlace("messages") + FormatText("[%zu]", index++)));
    }
    return property;
}

void ReadCommonStatuses(const Node& node, Profile& profile)
{
    profile.openAgain = node.GetStatus("openAgain");
    profile.notOpen = node.GetStatus("notOpen");
    profile.nullSize = node.GetStatus("nullSize");
    profile.nullData = node.GetStatus("nullData");
    profile.wrongSize = node.GetStatus("wrongSize");
    profile.unknownProperty = node.GetStatus("unknownProperty");
    profile.stream = node.GetStatus("stream");
}

Profile ReadAll(const JSON& value)
{
    const Node node(value, "",
                    {"schemaVersion", "name", "port", "deviceKey", "dataKey", "unknownProperty",
                     "findsRestartedServer", "statuses", "properties"});
    if (node.Take("schemaVersion", &JSON::is_number_integer, "a number") != kProfileVersion) {
        node.Refuse("schemaVersion", FormatText("this qxhost reads version %d", kProfileVersion));
    }
    Profile profile;
    profile.name = node.GetText("name");
    profile.port = node.GetText("port");
    profile.deviceKey = node.GetText("deviceKey");
    profile.dataKey = node.GetText("dataKey");
    profile.unknownSelector = node.GetCode("unknownProperty");
    profile.findsRestartedServer = node.GetFlag("findsRestartedServer");
    ReadCommonStatuses(Node(node.Take("statuses", &JSON::is_object, "an object"), "statuses",
                            {"openAgain", "notOpen", "nullSize", "nullData", "wrongSize",
                             "unknownProperty", "stream"}),
                       profile);
    std::set<std::string> names;
    for (const JSON& property : node.Take("properties", &JSON::is_array, "a list")) {
        const std::string place = FormatText("properties[%zu]", profile.properties.size());
        profile.properties.push_back(ReadProperty(property, place));
        if (!names.insert(profile.properties.back().name).second) {
            throw std::runtime_error(place + ".name: there is another property of that name");
        }
    }
    if (profile.properties.empty() || !profile.properties.front().isWritable) {
        node.Refuse("properties", "the first one has to be there, and one that can be set");
    }
    return profile;
}

} // namespace

std::string ReadProfile(const std::string& text, Profile& profile)
{
    try {
        profile = ReadAll(JSON::parse(text));
    } catch (const JSON::parse_error& error) {
        return FormatText("byte %zu: it is no JSON there", error.byte);
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

} // namespace Validate
