#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace mirel {

/// Why no page can be looked at here, empty where it can: Chromium or Node is not installed.
std::string browserMissing();

/// What a script of this folder says about a page in headless Chromium, as JSON; {"failed": ...}
/// where it says nothing. `folder` is empty; `options` follow the script's other arguments.
nlohmann::json inBrowser(const std::string& script, const std::string& page,
                         const std::string& folder, const std::vector<std::string>& options = {});

}  // namespace mirel
