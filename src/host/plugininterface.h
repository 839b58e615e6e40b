#pragma once

/// The host's view of a plugin object. The host calls the operations through the virtual table,
/// so their order is part of the interface: destructor, execute, initPlugin.
class CNZTPluginInterface {
 public:
  virtual ~CNZTPluginInterface() = default;
  /// Runs the task that the dialog parameter "task" names; failures arrive as message boxes.
  virtual bool execute() = 0;
  /// Binds the plugin to the host, once; false when it cannot be used.
  virtual bool initPlugin() = 0;
};
