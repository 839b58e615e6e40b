#include "jobs/realignmentjson.h"

namespace mirel {

namespace {

int countOf(const std::vector<int>& volumes) { return static_cast<int>(volumes.size()); }

}  // namespace

Json realignmentJson(const RealignmentRecord& found) {
  if (!found.notPossible.empty()) return {{"NotPossible", found.notPossible}};
  Json json = {{"ReferenceVolume", found.reference},
               {"VolumesCompared", countOf(found.compared)},
               {"VolumesMoved", countOf(found.moved)}};
  Json refused = Json::array();
  for (const RealignmentRecord::Refused& one : found.refused)
    refused.push_back({{"Volume", one.volume}, {"Reason", one.reason}});
  Json unlike = Json::array();
  for (const int volume : found.unlike) unlike.push_back(volume);
  if (!found.refused.empty()) json["VolumesRefused"] = refused;
  if (!found.uncertain.empty()) json["VolumesUncertain"] = countOf(found.uncertain);
  if (!found.unlike.empty()) json["VolumesUnlike"] = unlike;
  if (!found.across.empty()) json["VolumesAcrossContrasts"] = countOf(found.across);
  if (found.weightedToo) json["WeightedVolumesToo"] = true;
  if (!found.between.empty()) json["VolumesBetween"] = countOf(found.between);
  return json;
}

Json realignmentSummary(const RealignmentRecord& found) {
  if (!found.notPossible.empty()) return {{"notPossible", found.notPossible}};
  Json refused = Json::array();
  for (const RealignmentRecord::Refused& one : found.refused) refused.push_back(one.volume);
  return {{"referenceVolume", found.reference},
          {"volumesCompared", countOf(found.compared)},
          {"volumesMoved", countOf(found.moved)},
          {"volumesRefused", refused}};
}

}  // namespace mirel
