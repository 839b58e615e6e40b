#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <filesystem>

#include "cli/documents.h"
#include "cli/program.h"
#include "field/seriesfiles.h"
#include "field/warp.h"
#include "files/mapfile.h"

// "mirel picture", run as a user does.

namespace mirel {

namespace {

using namespace seriesfiles;
using niftifiles::readBytes;
using niftifiles::writeText;
using testing::HasSubstr;
using testing::IsEmpty;

const glm::ivec3 dims(20, 24, 16);

double ball(glm::dvec3 mm) {
  return glm::length(mm - glm::dvec3(4, -3, 2)) < 17 ? 800 + 10 * mm.x : 5;
}

struct Picture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;

  int countOf(int red, int green, int blue) const {
    int count = 0;
    for (std::size_t i = 0; i + 2 < rgb.size(); i += 3)
      count += rgb[i] == red && rgb[i + 1] == green && rgb[i + 2] == blue;
    return count;
  }
};

Picture pictureIn(const std::string& file) {
  png_image reader;
  std::memset(&reader, 0, sizeof reader);
  reader.version = PNG_IMAGE_VERSION;
  Picture picture;
  if (!png_image_begin_read_from_file(&reader, file.c_str())) {
    ADD_FAILURE() << file << ": " << reader.message;
    return picture;
  }
  reader.format = PNG_FORMAT_RGB;
  picture.width = static_cast<int>(reader.width);
  picture.height = static_cast<int>(reader.height);
  picture.rgb.resize(PNG_IMAGE_SIZE(reader));
  png_image_finish_read(&reader, nullptr, picture.rgb.data(), 0, nullptr);
  return picture;
}

class PictureCommand : public testing::Test {
 protected:
  PictureCommand() {
    const glm::dmat4 affine = affineOf({2, 2, 2.5}, 0, {-19, -23, -18});
    write("head_epi.nii.gz", {dims, affine}, ball);
    write("sub-1_fieldmap.nii", {dims, affine}, [](glm::dvec3 mm) { return 3 * mm.y; });
    writeText(file("sub-1_fieldmap.json"), R"({"Units": "Hz"})");
    write("brain_mask.nii", {dims, affine},
          [](glm::dvec3 mm) { return glm::length(mm) < 10 ? 1 : 0; });
  }

  void write(const std::string& name, const Grid& grid,
             const std::function<double(glm::dvec3)>& value) const {
    const nifti::Header header = headerOf(grid.dims, grid.affine);
    writeImage(file(name), header, [&](int) { return sampled(grid, value); });
  }

  std::string file(const std::string& name) const { return folder.file(name); }
  std::string out() const { return file("out.png"); }

  ProgramResult draw(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "picture");
    arguments.insert(arguments.end(), {"-o", out()});
    return runMirel(arguments);
  }
  ProgramResult drawn(const std::vector<std::string>& arguments) const {
    const ProgramResult result = draw(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, out() + "\n");
    return result;
  }
  // Nothing is written and nothing left behind.
  void fails(const std::vector<std::string>& arguments, const std::string& fault) const {
    const auto before = folder.names();
    const ProgramResult result = draw(arguments);
    EXPECT_EQ(result.status, 1) << fault;
    EXPECT_THAT(result.err, HasSubstr(fault));
    EXPECT_THAT(result.err, testing::StartsWith("Error: "));
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(folder.names(), before);
  }

  TemporaryFolder folder;
  const std::string head = folder.file("head_epi.nii.gz");
  const std::string field = folder.file("sub-1_fieldmap.nii");
};

TEST_F(PictureCommand, DrawsImagesInGreyAndMapsInColours) {
  EXPECT_THAT(drawn({head, field, "--limit", "30"}).err, IsEmpty());
  const Picture picture = pictureIn(out());
  EXPECT_GT(picture.width, 2 * 60);
  EXPECT_GT(picture.height, 3 * 48);
  EXPECT_GT(picture.countOf(178, 24, 43), 20);  // the end of the bar at least
  EXPECT_GT(picture.countOf(33, 70, 160), 20);
  drawn({head});
  EXPECT_EQ(pictureIn(out()).countOf(178, 24, 43), 0);
}

TEST_F(PictureCommand, ShowsTheSamePlaceOfAnImageStoredInAnotherOrder) {
  // The voxels of the head in another order of the axes, two of them reversed.
  const glm::dmat4 affine = affineOf({2, 2, 2.5}, 0, {-19, -23, -18});
  const Volume<float> plain = sampled({dims, affine}, ball);
  Volume<float> turned(dims.z, dims.x, dims.y);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        turned.at(dims.z - 1 - z, x, dims.y - 1 - y) = plain.at(x, y, z);
  const glm::dmat4 order{-affine[2], affine[0], -affine[1],
                         affine[3] + affine[2] * (dims.z - 1.0) + affine[1] * (dims.y - 1.0)};
  writeImage(file("turned_epi.nii"), headerOf(turned.dimensions(), order),
             [&](int) { return turned; });
  const std::vector<std::string> looks{"--label", "a",        "--label",   "b",
                                       "--slice", "axial:3",  "--slice",   "sagittal:12",
                                       "--slice", "y:-5.5mm", "--contour", "head"};
  std::vector<std::string> arguments{head, head};
  arguments.insert(arguments.end(), looks.begin(), looks.end());
  drawn(arguments);
  const auto same = readBytes(out());
  arguments[1] = file("turned_epi.nii");
  drawn(arguments);
  EXPECT_EQ(readBytes(out()), same);
  arguments[0] = arguments[1];
  drawn(arguments);  // also as the reference: slices are counted in the patient's axes
  arguments[0] = head;
  writeImage(file("shifted_epi.nii"), headerOf(dims, affineOf({2, 2, 2.5}, 0, {-15, -23, -18})),
             [&](int) { return plain; });
  arguments[1] = file("shifted_epi.nii");
  drawn(arguments);
  EXPECT_NE(readBytes(out()), same);
}

TEST_F(PictureCommand, RecognisesMapsAndTheirUnits) {
  // By the sidecar, although the name says nothing; by the name, although there is no sidecar.
  std::filesystem::copy_file(field, file("plain.nii"));
  EXPECT_THAT(drawn({file("plain.nii")}).err, IsEmpty());
  EXPECT_EQ(pictureIn(out()).countOf(178, 24, 43), 0);
  writeText(file("plain.json"), R"({"Units": "rad/s"})");
  EXPECT_THAT(drawn({file("plain.nii")}).err, IsEmpty());
  EXPECT_GT(pictureIn(out()).countOf(178, 24, 43), 0);
  std::filesystem::copy_file(field, file("sub-2_fieldmap.nii"));
  EXPECT_EQ(drawn({file("sub-2_fieldmap.nii")}).err,
            "Note: no sidecar says the unit of " + file("sub-2_fieldmap.nii") + "; --unit does.\n");
  EXPECT_THAT(drawn({file("sub-2_fieldmap.nii"), "--unit", "Hz"}).err, IsEmpty());
}

TEST_F(PictureCommand, DrawsDisplacementFieldsLikeTheirMaps) {
  const Grid grid{dims, affineOf({2, 2, 2.5}, 20, {-19, -23, -18})};
  const nifti::Header header = headerOf(dims, grid.affine);
  const Volume<float> shift = smoothShift(dims);
  writeWarpLps(shift, header, 1, file("warp.nii.gz"));
  Volume<float> mm = shift;
  mm *= 2.0f;
  writeImage(file("mm.nii.gz"), header, [&](int) { return mm; });
  writeText(file("mm.json"), R"({"Units": "mm"})");
  drawn({file("mm.nii.gz"), "--limit", "4", "--label", ""});
  const Picture map = pictureIn(out());
  drawn({file("warp.nii.gz"), "--limit", "4", "--label", ""});
  const Picture warp = pictureIn(out());
  // A line for the direction is above; below it the pictures are the same, but for values that
  // rounding has put on the other side of a colour.
  ASSERT_EQ(map.width, warp.width);
  ASSERT_GT(warp.height, map.height);
  const std::size_t offset = warp.rgb.size() - map.rgb.size();
  std::size_t different = 0;
  for (std::size_t i = map.rgb.size() / 5; i < map.rgb.size(); ++i)
    different += std::abs(map.rgb[i] - warp.rgb[offset + i]) > 1;
  EXPECT_EQ(different, 0u);
  // It displaces along j only: nothing but the bar is coloured along i.
  drawn({file("warp.nii.gz"), "--limit", "4", "--label", "", "--warp-axis", "i"});
  EXPECT_GT(pictureIn(out()).countOf(255, 255, 255), 3 * 48 * 60);
}

TEST_F(PictureCommand, DrawsMapFilesOnTheGridOfAnImage) {
  Map map{{dims.x, dims.y, dims.z}, std::vector<float>(20 * 24 * 16, 2.0f)};
  writeMapFile(file("a.map"), map);
  EXPECT_THAT(drawn({head, file("a.map")}).err, IsEmpty());
  EXPECT_THAT(drawn({file("a.map")}).err, IsEmpty());
  write("large_epi.nii", {{30, 30, 30}, glm::dmat4(1.0)}, ball);
  fails({file("large_epi.nii"), file("a.map")},
        "a.map has no orientation and is of another size (20 x 24 x 16) than");
}

TEST_F(PictureCommand, TakesLabelsOfAnyBytes) {
  for (const std::string label : {"", "é±µ Ж 中", "\xFF\xFE\xC3", "a\nb\tc", "%s%n <b>&</b>\\"})
    drawn({head, "--label", label});
  drawn({head, "--label", std::string(5000, 'x')});
  fails({head, "--label", "a", "--label", "b"}, "there are 2 labels for 1 image or map");
}

TEST_F(PictureCommand, DrawsContoursOverEveryImage) {
  drawn({head, field});
  EXPECT_EQ(pictureIn(out()).countOf(80, 230, 90), 0);
  drawn({head, field, "--contour", file("brain_mask.nii"), "--contour", "head"});
  EXPECT_GT(pictureIn(out()).countOf(80, 230, 90), 100);
  EXPECT_GT(pictureIn(out()).countOf(255, 190, 30), 100);
  const auto named = readBytes(out());
  drawn({head, field, "--contour", file("brain_mask.nii"), "--contour", "head", "--contour-label",
         "truth"});
  EXPECT_NE(readBytes(out()), named);
  fails({head, "--contour-label", "truth"}, "there is 1 label for 0 contours");
  fails({field, "--contour", "head"}, "--contour head needs an image in front of the maps");
}

TEST_F(PictureCommand, NeverOverwritesAnInput) {
  const std::string image = file("image.png");
  std::filesystem::copy_file(head, image);
  const auto before = readBytes(image);
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{image},
                                                    {head, "--map", image},
                                                    {head, "--contour", image},
                                                    {head, "--anatomy", image},
                                                    {head, "--measured", image}}) {
    std::vector<std::string> whole{"picture", "-o", image};
    whole.insert(whole.end(), arguments.begin(), arguments.end());
    const ProgramResult result = runMirel(whole);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("image.png would overwrite an input"));
    EXPECT_EQ(readBytes(image), before);
  }
}

TEST_F(PictureCommand, SaysInOneSentenceWhatIsWrong) {
  fails({}, "name at least one image or map to draw");
  fails({file("missing.nii")}, file("missing.nii"));
  fails({head, "--slice", "axial:16"},
        "head_epi.nii.gz has no axial slice 16: its slices are 0 to 15");
  fails({head, "--slice", "axial:-1"}, "-1 is not the number of a slice");
  fails({head, "--slice", "oblique"}, "--slice oblique is not understood");
  fails({head, "--slice", "z:1e400mm"}, "--slice z:1e400mm: 1e400 is not a number of mm");
  fails({head, "--slice", "z:900mm"}, "has nothing at z = 900.0 mm: it reaches from -19.2");
  fails({head, "--limit", "Hz="}, "--limit Hz=:  is not a positive number");
  fails({head, "--limit", "-3"}, "--limit -3: -3 is not a positive number");
  fails({head, "--limit", "nan"}, "is not a positive number");
  fails({head, "--overlay"}, "an overlay needs two images");
  fails({head, "--contour", file("none.nii")}, file("none.nii"));
  writeText(file("text.nii"), "no image");
  fails({head, file("text.nii")}, file("text.nii"));
  const ProgramResult other = runMirel({"picture", head, "-o", file("out.jpg")});
  EXPECT_EQ(other.status, 1);
  EXPECT_THAT(other.err, HasSubstr("out.jpg does not end with .png"));
  const ProgramResult folderGone = runMirel({"picture", head, "-o", file("gone/out.png")});
  EXPECT_EQ(folderGone.status, 1);
  EXPECT_THAT(folderGone.err, HasSubstr("gone/out.png does not exist"));
}

TEST_F(PictureCommand, RefusesVectorsOfAnotherNumberOfComponents) {
  nifti::Header header = headerOf(dims, glm::dmat4(1.0));
  header.vectorComponents = 2;
  nifti::Writer writer(file("two.nii"), header);
  for (int c = 0; c < 2; ++c) writer.write(Volume<float>(dims, 1.0f));
  writer.finish();
  fails({file("two.nii")}, "two.nii has 1 volume of vectors of 2 components");
}

TEST_F(PictureCommand, TellsOfImagesWithoutOrientationAndOfThoseElsewhere) {
  nifti::Header header = headerOf(dims, affineOf({2, 2, 2.5}));
  header.sformCode = header.qformCode = 0;
  writeImage(file("bare.nii"), header, [](int) { return smoothImage(dims); });
  EXPECT_THAT(drawn({head, file("bare.nii")}).err,
              HasSubstr("bare.nii has no orientation; it is taken to lie as " + head));
  write("far.nii", {dims, affineOf({2, 2, 2}, 0, {900, 0, 0})}, ball);
  EXPECT_THAT(drawn({head, file("far.nii")}).err, HasSubstr("far.nii lies elsewhere than " + head));
  EXPECT_THAT(drawn({head, file("far.nii"), "--own-grids"}).err, IsEmpty());
}

TEST(PictureDocument, EveryCommandWorksInTheOrderOfTheText) {
  const TemporaryFolder folder;
  const std::vector<std::string> commands = commandsOf(MIREL_PICTURE_DOCUMENT);
  ASSERT_GE(commands.size(), 5U);
  for (const std::string& command : commands) {
    const ProgramResult result = runLine(command, folder.file(""));
    if (command.starts_with("mirel picture")) {
      EXPECT_THAT(result.err, IsEmpty()) << command;
    }
  }
  for (const char* name : {"picture.png", "over.png", "pair.png"})
    EXPECT_GT(pictureIn(folder.file(name)).width, 400) << name;
}

}  // namespace

}  // namespace mirel
