// Reads the sources of the man pages.
#pragma once

#include <string>
#include <string_view>

#include "support/files.h"

namespace tarvel {

// The source of docs/man/NAME.in.
inline std::string page_source(const std::string &name) {
  return read_text(source_dir() + "/docs/man/" + name + ".in");
}

inline void replace_all(std::string &text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

// The lines of the display that follows the comment MARK, as they are rendered; empty when there is none.
inline std::string display_after(const std::string &page, const std::string &mark) {
  const std::size_t comment = page.find("\n.\\\" " + mark + "\n.Bd ");
  if (comment == std::string::npos) return {};
  const std::size_t opening = page.find("\n.Bd ", comment);
  const std::size_t first = page.find('\n', opening + 1) + 1;
  std::string text = page.substr(first, page.find("\n.Ed", first) + 1 - first);
  replace_all(text, "\\-", "-");
  return text;
}

}  // namespace tarvel
