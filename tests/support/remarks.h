#pragma once

#include <string>
#include <vector>

#include "base/advice.h"

namespace mirel {

inline std::vector<std::string> textsOf(const std::vector<Remark>& remarks) {
  std::vector<std::string> texts;
  for (const Remark& remark : remarks) texts.push_back(remark.text);
  return texts;
}

}  // namespace mirel
