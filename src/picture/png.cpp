#include <png.h>
#include <unistd.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "picture/image.h"

namespace mirel {

namespace {

// The PNG stream in memory, so that the file is written in one go and libpng's jumps never cross
// an object that needs destruction.
struct Encoder {
  const RgbImage& image;
  std::vector<unsigned char> bytes;
};

void append(png_structp png, png_bytep data, png_size_t count) {
  auto* bytes = static_cast<std::vector<unsigned char>*>(png_get_io_ptr(png));
  bytes->insert(bytes->end(), data, data + count);
}

void flushNothing(png_structp) {}

bool encode(Encoder& encoder) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_set_write_fn(png, &encoder.bytes, append, flushNothing);
  png_set_IHDR(png, info, static_cast<png_uint_32>(encoder.image.width()),
               static_cast<png_uint_32>(encoder.image.height()), 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 9);
  png_write_info(png, info);
  for (int y = 0; y < encoder.image.height(); ++y) png_write_row(png, encoder.image.row(y));
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

void writePng(const std::string& fileName, const RgbImage& image) {
  if (image.width() == 0) throw std::invalid_argument("an empty picture cannot be written");
  Encoder encoder{image, {}};
  if (!encode(encoder))
    throw std::runtime_error("the picture " + fileName + " could not be encoded");

  const std::string temporary = fileName + ".part" + std::to_string(getpid());
  const auto fail = [&](const char* what, int code) {
    std::remove(temporary.c_str());
    throw std::runtime_error("cannot " + std::string(what) + " the picture " + fileName + ": " +
                             std::strerror(code));
  };
  std::FILE* file = std::fopen(temporary.c_str(), "wb");
  if (!file) fail("create", errno);
  const bool written =
      std::fwrite(encoder.bytes.data(), 1, encoder.bytes.size(), file) == encoder.bytes.size();
  const int writeError = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written || !closed) fail("write", written ? errno : writeError);
  std::error_code error;
  std::filesystem::rename(temporary, fileName, error);
  if (error) fail("write", error.value());
}

}  // namespace mirel
