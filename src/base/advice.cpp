#include "base/advice.h"

#include <utility>

namespace mirel {

Remark::Remark(std::string sentence, Advice what) : text(std::move(sentence)), advice(what) {}

}  // namespace mirel
