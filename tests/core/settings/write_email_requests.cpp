// Sends the test e-mail request the way the e-mail test page does, once per settings case, each
// into the pipe file "Velmora.set" of its own data directory DIRECTORY/CASE, for
// check_email_request.py to read with an independent property-list reader. A case with settings
// first saves them, which leaves the shorter reload command in the pipe for the request to
// overwrite. The clock stands at 1700000000 and the date format is the locale's; the expected
// values are repeated in the script: change both together.

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/settings/EmailTestRequest.h"
#include "core/settings/SettingsSchema.h"
#include "core/settings/SettingsStore.h"

namespace {

using velmora::Dictionary;

// The templates the e-mail format page saves on a first run.
Dictionary defaultTemplates() {
    Dictionary settings{{"actionsEmailServer", "mail.example.com"}};
    for (const char* key : {"actionsFormatSubject", "actionsFormatBody"}) {
        settings.set(key, velmora::readSetting(std::nullopt, *velmora::findSettingKey(key)));
    }
    return settings;
}

std::vector<std::pair<std::string, std::optional<Dictionary>>> cases() {
    Dictionary noSubject = defaultTemplates();
    noSubject.erase("actionsFormatSubject");
    Dictionary noBody = defaultTemplates();
    noBody.erase("actionsFormatBody");
    return {
        {"default-templates", defaultTemplates()},
        {"no-subject", noSubject},
        {"no-body", noBody},
        {"no-settings", std::nullopt},
    };
}

bool send(const std::filesystem::path& directory, const std::optional<Dictionary>& settings) {
    std::filesystem::create_directories(directory);
    // The server owns the pipe file; the console only writes into it.
    std::ofstream(directory / "Velmora.set", std::ios::binary);
    const velmora::SettingsStore store(directory.string());
    if (settings && !store.saveDictionary(*settings)) {
        return false;
    }
    const velmora::EmailTestRequest request(
        {"admin@example.com", "abc", "abc"}, store.readDictionary(), "",
        std::chrono::system_clock::time_point(std::chrono::seconds(1700000000)));
    return store.setPipe(request.archive()).ok();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_email_requests DIRECTORY\n";
        return 2;
    }
    for (const auto& [name, settings] : cases()) {
        if (!send(std::filesystem::path(argv[1]) / name, settings)) {
            std::cerr << "cannot send the request of " << name << "\n";
            return 1;
        }
    }
    return 0;
}
