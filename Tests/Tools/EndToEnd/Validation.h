// Validation.h - one run of qxhost validate, and what it said.
#pragma once

#include "Support/TemporaryFolder.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace ToolsTests {

using TestSupport::TemporaryFolder;

/// What a run with --json has said, and how it ended.
struct Validation
{
    std::vector<nlohmann::json> checks;
    nlohmann::json verdict;
    int exitCode = 0;

    std::vector<std::string> GetFailed() const
    {
        std::vector<std::string> names;
        for (const nlohmann::json& check : checks) {
            if (check["result"] == "failed") {
                names.push_back(check["name"].get<std::string>());
            }
        }
        return names;
    }

    const nlohmann::json* Find(const std::string& name) const
    {
        for (const nlohmann::json& check : checks) {
            if (check["name"] == name) {
                return &check;
            }
        }
        return nullptr;
    }
};

inline Validation Validate(std::vector<std::string> arguments, const TemporaryFolder& folder)
{
    arguments.insert(arguments.begin(), "validate");
    arguments.insert(arguments.end(), {"--json", "--recordings", folder / "recordings"});
    ChildProcess host(kHostProgram, arguments);
    Validation validation;
    while (const std::optional<std::string> line = host.ReadLine()) {
        nlohmann::json object = nlohmann::json::parse(*line);
        if (object["event"] == "check") {
            validation.checks.push_back(std::move(object));
        } else if (object["event"] == "verdict") {
            validation.verdict = std::move(object);
        }
    }
    validation.exitCode = host.Wait();
    return validation;
}

inline std::string GetWrongBundle(const std::string& check)
{
    return std::string(QX_WRONG_BUNDLES) + "/" + check + ".so";
}

} // namespace ToolsTests
