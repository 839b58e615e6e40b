#include "average/joinremarks.h"

#include "base/joined.h"
#include "base/numbertext.h"

namespace mirel {

namespace {

std::string percent(double part) { return text("%.2g", 100 * part) + " %"; }

void tellOfMotion(const JoinedPart& part, JoinedVolumes& joined) {
  if (!part.moved || part.fate != JoinedPart::Fate::counted) return;
  joined.notes.push_back("the head is displaced by " + text("%.2g", part.displacementMm) +
                         " mm in " + part.name + " against " + joined.parts[joined.reference].name +
                         ", which was undone before " + "the mean was taken");
}

void tellOf(const JoinedPart& part, JoinedVolumes& joined) {
  switch (part.fate) {
    case JoinedPart::Fate::beforeSteady:
      joined.notes.push_back(part.name + " is " + percent(part.gain - 1) +
                             " brighter than those after it, as before the steady state: it was "
                             "left out of the mean");
      return;
    case JoinedPart::Fate::differs:
      joined.warnings.push_back(part.name + " does not show what the others do (only " +
                                percent(part.share) +
                                " of it agrees): it was left out of the mean");
      return;
    case JoinedPart::Fate::counted:
      break;
  }
  if (!part.weakSlices.empty()) {
    const bool one = part.weakSlices.size() == 1;
    joined.warnings.push_back(namedRanges("slice", part.weakSlices) + " (counted from 0) of " +
                              part.name + (one ? " differs from that" : " differ from those") +
                              " of the others, as where signal is lost or the head moved: " +
                              (one ? "it counts" : "they count") +
                              " less in the mean, or not at all");
  }
  tellOfMotion(part, joined);
}

}  // namespace

void addJoinRemarks(JoinedVolumes& joined) {
  for (const JoinedPart& part : joined.parts) tellOf(part, joined);
}

}  // namespace mirel
