#include "cli/directionoption.h"

#include "cli/numbers.h"

namespace mirel {

CLI::Option* addDirectionOption(CLI::App* command, const std::string& name,
                                std::optional<bids::PhaseEncodingDirection>& value,
                                const std::string& text) {
  return command
      ->add_option_function<std::string>(
          name,
          [&value, name](const std::string& word) { value = bids::parsePhaseEncoding(word, name); },
          text)
      ->type_name("DIR")
      ->check(CLI::IsMember({"i", "i-", "j", "j-", "k", "k-"}));
}

CLI::Option* addReadoutOption(CLI::App* command, const std::string& name,
                              std::optional<double>& value, const std::string& text) {
  return command
      ->add_option_function<double>(
          name, [&value](double seconds) { value = seconds; }, text)
      ->type_name("S")
      ->check(refuseNotPositive);
}

}  // namespace mirel
