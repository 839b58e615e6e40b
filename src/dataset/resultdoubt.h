#pragma once

#include <string>
#include <vector>

namespace mirel::dataset {

struct SubjectResult;

/// What the records of a corrected image and of its field say against it.
struct ResultDoubt {
  std::string trust;  ///< by the verdict on the pair: "trusted", ...; empty: there is none
  /// The first of that verdict that says what to check, else the first; empty where nothing speaks
  /// against it.
  std::string reason;
  /// The first warning that something is to be checked, such as the sign of the direction; empty:
  /// there is none.
  std::string check;

  bool isUntrusted() const { return trust == "do not trust"; }
  bool isDoubtful() const { return trust == "doubtful"; }
  bool isAny() const { return isUntrusted() || isDoubtful() || !check.empty(); }
  /// The gravest sentence: why it is not to be trusted, what is to be checked, why it is doubtful.
  const std::string& sentence() const;
};

/// By the records beside both files, named without their extensions. A record that cannot be read
/// says nothing.
ResultDoubt doubtAbout(const std::string& imageStem, const std::string& fieldStem);

/// How many images there are of each kind; an image may be of two.
struct DoubtCounts {
  int untrusted = 0, doubtful = 0, toCheck = 0;

  void add(const ResultDoubt& doubt);
  /// "2 not to be trusted, 1 doubtful, 3 with a warning to CHECK", without what there is none of.
  std::string text() const;
};

DoubtCounts doubtCounts(const std::vector<SubjectResult>& subjects);

/// A line for each subject with doubts, the gravest one and of how many images there are any;
/// of more than ten subjects the first ten, and a line that says how many more `place` tells of.
std::vector<std::string> doubtLines(const std::vector<SubjectResult>& subjects,
                                    const std::string& place);

}  // namespace mirel::dataset
