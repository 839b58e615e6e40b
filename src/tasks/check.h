#pragma once

#include <ostream>

namespace mirel {

/// Tests every name of the dialog parameter "files" (one per line): it has the extension of a
/// project and can be opened. Findings are shown together in one message box, one line each;
/// without any, "Check: OK" goes to the log. Contents are not read.
void checkFiles(std::ostream& log);

}  // namespace mirel
