#include "jobs/joinedjson.h"

#include "jobs/recordjson.h"

namespace mirel {

namespace {

std::string nameOf(JoinedPart::Fate fate) {
  switch (fate) {
    case JoinedPart::Fate::beforeSteady:
      return "before the steady state";
    case JoinedPart::Fate::differs:
      return "differs";
    case JoinedPart::Fate::counted:
      break;
  }
  return "counted";
}

Json partJson(const JoinedPart& part, bool ofOtherFile) {
  Json json = {{"Volume", part.volume},
               {"Outcome", nameOf(part.fate)},
               {"Share", part.share},
               {"Gain", part.gain},
               {"DisplacementMm", part.displacementMm}};
  if (ofOtherFile) json["File"] = part.file;
  if (!part.weakSlices.empty()) json["WeakSlices"] = listOf(part.weakSlices);
  if (part.moved) json["HeadMotion"] = motionJson(part.motion);
  return json;
}

}  // namespace

void addFurther(Json& inputs, const ImageDescription& a, const ImageDescription& b) {
  for (const ImageDescription* image : {&a, &b})
    for (const FileStamp& stamp : image->moreStamps) {
      Json input = fileJson(stamp);
      input["JoinedVolumes"] = listOf(image->joined->volumesOf(stamp.fileName()));
      inputs.push_back(input);
    }
}

void addJoined(Json& json, const ImageDescription& image) {
  json["JoinedVolumes"] = listOf(image.volumesTaken());
  json["Reference"] = image.joined->parts[image.joined->reference].name;
  Json parts = Json::array();
  for (const JoinedPart& part : image.joined->parts)
    parts.push_back(partJson(part, part.file != image.options.file));
  json["Joined"] = parts;
}

Json joinedSummary(const JoinedVolumes& joined) {
  Json parts = Json::array();
  for (const JoinedPart& part : joined.parts)
    parts.push_back({{"file", part.file},
                     {"volume", part.volume},
                     {"outcome", nameOf(part.fate)},
                     {"share", part.share},
                     {"gain", part.gain},
                     {"displacementMm", part.displacementMm},
                     {"moved", part.moved}});
  return parts;
}

}  // namespace mirel
