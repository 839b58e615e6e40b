#include "report/assets.h"

#include <string_view>

// The assembler copies the files into the program as they are.
#define MIREL_ASSET(name, file)                                                     \
  asm(".section .rodata\n.global mirel_" name "_begin\n.hidden mirel_" name         \
      "_begin\n.global mirel_" name "_end\n.hidden mirel_" name "_end\nmirel_" name \
      "_begin:\n"                                                                   \
      ".incbin \"" MIREL_REPORT_FOLDER "/" file "\"\nmirel_" name "_end:\n.byte 0\n.previous\n")

MIREL_ASSET("page", "page.html");
MIREL_ASSET("card", "card.html");
MIREL_ASSET("style", "style.css");
MIREL_ASSET("script", "script.js");
MIREL_ASSET("index", "index.html");
MIREL_ASSET("indexstyle", "index.css");
MIREL_ASSET("indexscript", "index.js");

extern "C" {
extern const char mirel_page_begin[], mirel_page_end[];
extern const char mirel_card_begin[], mirel_card_end[];
extern const char mirel_style_begin[], mirel_style_end[];
extern const char mirel_script_begin[], mirel_script_end[];
extern const char mirel_index_begin[], mirel_index_end[];
extern const char mirel_indexstyle_begin[], mirel_indexstyle_end[];
extern const char mirel_indexscript_begin[], mirel_indexscript_end[];
}

namespace mirel::report {

std::string pageTemplate() {
  const std::string card(mirel_card_begin, mirel_card_end);
  std::string page(mirel_page_begin, mirel_page_end);
  constexpr std::string_view place = "{{>card}}";
  for (std::size_t at = page.find(place); at != std::string::npos; at = page.find(place, at))
    page.replace(at, place.size(), card);
  return page;
}

std::string styleSheet() { return {mirel_style_begin, mirel_style_end}; }
std::string scriptText() { return {mirel_script_begin, mirel_script_end}; }
std::string indexTemplate() { return {mirel_index_begin, mirel_index_end}; }
std::string indexStyle() { return {mirel_indexstyle_begin, mirel_indexstyle_end}; }
std::string indexScript() { return {mirel_indexscript_begin, mirel_indexscript_end}; }

}  // namespace mirel::report
