#include "cli/directionoption.h"

#include "cli/numbers.h"

namespace mirel {

Option* addDirectionOption(Command* command, const std::string& name,
                           std::optional<bids::PhaseEncodingDirection>& value,
                           const std::string& text) {
  return command
      ->add_option_function(
          name,
          [&value, name](const std::string& word) { value = bids::parsePhaseEncoding(word, name); },
          text)
      ->type_name("DIR")
      ->one_of({"i", "i-", "j", "j-", "k", "k-"});
}

Option* addReadoutOption(Command* command, const std::string& name, std::optional<double>& value,
                         const std::string& text) {
  return command
      ->add_option_function(
          name, [&value](double seconds) { value = seconds; }, text)
      ->type_name("S")
      ->check(refuseNotPositive);
}

Option* addUnitOption(Command* command, std::optional<bids::Unit>& value, const std::string& text) {
  return command
      ->add_option_function(
          "--units", [&value](const std::string& word) { value = bids::unitOf(word); }, text)
      ->type_name("U")
      ->one_of({"Hz", "rad/s", "T", "voxels", "mm"});
}

}  // namespace mirel
