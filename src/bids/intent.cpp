#include "bids/intent.h"

#include <algorithm>

#include "base/error.h"
#include "base/isoneof.h"
#include "base/samefile.h"
#include "bids/inheritance.h"
#include "bids/name.h"

namespace mirel::bids {

namespace {

constexpr std::size_t namedAtMost = 3;

std::vector<std::string> textsIn(const std::optional<Sidecar>& sidecar, const char* field) {
  return sidecar ? sidecar->texts(field) : std::vector<std::string>();
}

bool haveCommon(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  return std::any_of(a.begin(), a.end(), [&](const std::string& text) {
    return std::find(b.begin(), b.end(), text) != b.end();
  });
}

std::string listed(const std::vector<std::string>& texts) {
  std::string list;
  for (std::size_t n = 0; n < std::min(texts.size(), namedAtMost); ++n)
    list += (n == 0 ? "" : ", ") + texts[n];
  if (texts.size() > namedAtMost)
    list += " and " + std::to_string(texts.size() - namedAtMost) + " more";
  return list;
}

std::optional<std::string> entityOf(const Name& name, const std::string& key) {
  for (const auto& [entity, value] : name.entities)
    if (entity == key) return value;
  return std::nullopt;
}

// Entities in which images of one acquisition may differ.
bool isOfOneAcquisition(const std::string& entity) { return isOneOf(entity, {"echo", "part"}); }
bool isOfDerivatives(const std::string& entity) {
  return isOneOf(entity, {"desc", "space", "res", "den"});
}

}  // namespace

bool isIntended(const std::string& entry, const std::string& image) {
  const std::size_t colon = entry.rfind(':');
  const std::string path = colon == std::string::npos ? entry : entry.substr(colon + 1);
  const Name named = Name::of(path), own = Name::of(image);
  if (!named.isStructured() || !own.isStructured()) return named.text() == own.text();
  if (own.suffix != named.suffix && own.suffix != "sbref") return false;
  const bool hasAll =
      std::all_of(named.entities.begin(), named.entities.end(), [&](const auto& entity) {
        return isOfOneAcquisition(entity.first) || entityOf(own, entity.first) == entity.second;
      });
  return hasAll && std::all_of(own.entities.begin(), own.entities.end(), [&](const auto& entity) {
           return isOfOneAcquisition(entity.first) || isOfDerivatives(entity.first) ||
                  entityOf(named, entity.first).has_value();
         });
}

FieldOrigin originOf(const std::string& image, const std::optional<Sidecar>& known) {
  if (known) return {image, known};
  try {
    return {image, findSidecar(image)};
  } catch (const Error&) {
    return {image, std::nullopt};
  }
}

std::vector<std::string> doubtsAboutUse(const std::vector<FieldOrigin>& origins,
                                        const std::string& field, const std::string& image,
                                        const std::optional<Sidecar>& sidecar) {
  if (std::any_of(origins.begin(), origins.end(),
                  [&](const FieldOrigin& origin) { return sameFile(origin.image, image); }))
    return {};
  const std::vector<std::string> sources = textsIn(sidecar, "B0FieldSource");
  std::vector<std::string> identifiers;
  for (const FieldOrigin& origin : origins)
    for (const std::string& text : textsIn(origin.sidecar, "B0FieldIdentifier"))
      if (!haveCommon({text}, identifiers)) identifiers.push_back(text);
  if (!sources.empty() && !identifiers.empty()) {
    if (haveCommon(sources, identifiers)) return {};
    return {sidecar->fileOf("B0FieldSource") + " asks for the field " + listed(sources) +
            " (B0FieldSource), but the B0FieldIdentifier of " + field + " is " +
            listed(identifiers)};
  }
  std::vector<std::string> doubts;
  for (const FieldOrigin& origin : origins) {
    const std::vector<std::string> entries = textsIn(origin.sidecar, "IntendedFor");
    if (entries.empty() ||
        std::any_of(entries.begin(), entries.end(),
                    [&](const std::string& entry) { return isIntended(entry, image); }))
      continue;
    doubts.push_back(field + " is not meant for " + image + ": IntendedFor in " +
                     origin.sidecar->fileOf("IntendedFor") + " names " + listed(entries));
  }
  return doubts;
}

std::optional<std::string> doubtAboutPair(const FieldOrigin& a, const FieldOrigin& b) {
  const std::vector<std::string> ofA = textsIn(a.sidecar, "B0FieldIdentifier"),
                                 ofB = textsIn(b.sidecar, "B0FieldIdentifier");
  if (ofA.empty() || ofB.empty() || haveCommon(ofA, ofB)) return std::nullopt;
  return a.image + " and " + b.image + " are not of one field by their B0FieldIdentifier, " +
         listed(ofA) + " and " + listed(ofB);
}

}  // namespace mirel::bids
