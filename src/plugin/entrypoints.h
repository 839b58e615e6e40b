#pragma once

#include "hostapi/cnztplugininterface.h"

namespace mirel {

/// What the host finds by name. Texts are static, NUL-terminated and owned by the library.
extern "C" {
#define MIREL_ENTRY_POINT __attribute__((visibility("default")))
/// A new plugin object; the host owns it and deletes it through its virtual destructor.
MIREL_ENTRY_POINT CNZTPluginInterface* createPlugin();
MIREL_ENTRY_POINT const char* getPluginName();
MIREL_ENTRY_POINT const char* getPluginDescription();
MIREL_ENTRY_POINT const char* getAuthor();
/// Relative to the host's plugin folder.
MIREL_ENTRY_POINT const char* getHelpFile();
MIREL_ENTRY_POINT const char* getPluginVersion();
/// The script that builds the plugin's dialog.
MIREL_ENTRY_POINT const char* getGUIScript();
}

}  // namespace mirel
