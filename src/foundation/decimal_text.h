// The decimal text of an int, as the files and nodes of one number hold it
// (no sign for positive values, no line end).
#pragma once

#include <cstdio>

namespace vorn {

struct DecimalText {
  explicit DecimalText(int value)
      : length(static_cast<unsigned>(std::snprintf(text, sizeof text, "%d", value))) {}
  char text[12];
  unsigned length;
};

}  // namespace vorn
