#include "picture/fontdata.h"

// The file goes into the program as it is, so that pictures are the same on machines without any
// font. The assembler copies it: as a C array it would take the compiler seconds.
asm(R"(
  .section .rodata
  .global mirel_font_begin
  .hidden mirel_font_begin
  .global mirel_font_end
  .hidden mirel_font_end
  .balign 16
mirel_font_begin:
  .incbin ")" MIREL_FONT_FILE R"("
mirel_font_end:
  .byte 0
  .previous
)");

extern "C" {
extern const unsigned char mirel_font_begin[];
extern const unsigned char mirel_font_end[];
}

namespace mirel::picture {

std::span<const unsigned char> fontData() { return {mirel_font_begin, mirel_font_end}; }

}  // namespace mirel::picture
