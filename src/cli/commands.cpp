#include "cli/command.h"

namespace mirel {

void addCommands(Command& app, Program& program) {
  addCorrectCommand(app, program);
  addBidsCommand(app, program);
  addEstimateCommand(app, program);
  addApplyCommand(app, program);
  addFieldCommand(app, program);
  addCheckCommand(app, program);
  addSelectCommand(app, program);
  addInfoCommand(app, program);
  addConvertCommand(app, program);
  addPhantomCommand(app, program);
  addPictureCommand(app, program);
  addCompareCommand(app, program);
  addGenerateCommand(app, program);
}

}  // namespace mirel
