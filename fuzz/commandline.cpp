// A command line, a word a line: understood, answered or refused, never more.
#include "cli/commandline.h"

#include "cli/command.h"
#include "fuzz/input.h"

using namespace mirel;

namespace {

/// The program's commands and options, declared once: that takes a hundred times as long as most
/// lines. The parser forgets a line when the next one comes.
struct Mirel {
  Mirel() { addCommands(line.root(), program); }

  CommandLine line{"mirel", "", ""};
  Program program;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Mirel mirel;
  std::vector<std::string> words = {"mirel"};
  std::string text(reinterpret_cast<const char*>(data), size);
  for (std::size_t at = 0, end; at < text.size(); at = end + 1) {
    end = std::min(text.find('\n', at), text.size());
    words.push_back(text.substr(at, end - at));
  }
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  mirel.program.action = nullptr;
  const CommandLine::Outcome outcome =
      mirel.line.parse(static_cast<int>(words.size()), pointers.data());
  fuzz::require((outcome == CommandLine::Outcome::refused) == !mirel.line.refusal().empty(),
                "a refusal without a reason");
  fuzz::require(outcome != CommandLine::Outcome::understood || mirel.program.action != nullptr,
                "a command without an action");
  return 0;
}
