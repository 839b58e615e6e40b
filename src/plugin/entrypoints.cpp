#include "plugin/entrypoints.h"

#include "plugin/distcor.h"

namespace mirel {

CNZTPluginInterface* createPlugin() { return new distcor; }

const char* getPluginName() { return "Mirel (v0.5)"; }

const char* getPluginDescription() {
  return "~~ Correction of geometric distortion in echo-planar images (MIREL) (v0.5) ~~"
         "<BR>This plugin corrects EPI data from reverse phase-encoded data (anterior to "
         "posterior (AP) and posterior to anterior (PA).<BR>The manual can be found "
         "<b><a href=\"MirelPluginHelp/index.html\">here</a>.</b><br>";
}

const char* getAuthor() { return "<i>The Mirel developers</i>"; }

const char* getHelpFile() { return "MirelPluginHelp/index.html"; }

const char* getPluginVersion() { return "0.5"; }

const char* getGUIScript() { return "MIREL_v05.js"; }

}  // namespace mirel
