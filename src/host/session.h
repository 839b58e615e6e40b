#pragma once

#include <string>

#include "host/console.h"
#include "host/mapstore.h"
#include "host/parameterstore.h"

namespace mirel {

/// Everything that the exported functions work on. The plugin binds them by name and passes no
/// context, so there is one session in a program.
struct HostSession {
  Console console;
  ParameterStore parameters;
  MapStore maps;
  /// What the open-file dialog answers; empty stands for a dialog that the user cancelled.
  std::string openFileAnswer;
};

HostSession& hostSession();

}  // namespace mirel
