#include "host/task.h"

#include <iostream>

#include "base/error.h"
#include "host/session.h"

namespace mirel {

bool runTask(Plugin& plugin, const std::string& task) {
  HostSession& session = hostSession();
  const int boxesBefore = session.console.errors() + session.console.findings();
  session.parameters.setText("task", task);
  plugin.execute();
  return session.console.errors() + session.console.findings() == boxesBefore;
}

bool runTaskOnFiles(Plugin& plugin, const std::string& task,
                    const std::vector<std::string>& files) {
  HostSession& session = hostSession();
  std::string list;
  for (const std::string& file : files) list += (list.empty() ? "" : "\n") + file;
  if (list.size() <= longestText) {
    session.parameters.setText("files", list);
    return runTask(plugin, task);
  }
  bool good = true;
  const int errorsBefore = session.console.errors();
  for (const std::string& file : files) {
    session.parameters.setText("files", file);
    good = runTask(plugin, task) && good;
    if (session.console.errors() > errorsBefore) break;
  }
  return good;
}

void refuseImpossibleName(const std::string& fileName) {
  if (fileName.empty()) throw Error("a file name is empty");
  if (fileName.size() > longestText)
    throw Error("the file name " + fileName + " has " + std::to_string(fileName.size()) +
                " bytes; the plugin takes at most " + std::to_string(longestText));
  if (fileName.find('\n') != std::string::npos)
    throw Error("the file name \"" + fileName + "\" contains a line feed");
}

bool reportOutputs(const ExpectedOutputs& outputs) {
  const std::vector<std::string> missing = outputs.missing();
  for (const std::string& name : missing)
    hostSession().console.messageBox("Error: the file " + name + " could not be written");
  if (!missing.empty()) return false;
  for (const std::string& name : outputs.names()) std::cout << name << "\n";
  return true;
}

}  // namespace mirel
