#pragma once

#include <gtest/gtest.h>

#include <string>

namespace mirel {

/// The text of the exception of type Error that `action` throws; a failure when it throws none.
template <typename Error, typename Action>
std::string messageOf(Action action) {
  try {
    action();
  } catch (const Error& e) {
    return e.what();
  }
  ADD_FAILURE() << "no exception";
  return "";
}

}  // namespace mirel
