#include "driver/output_names.h"

#include <cstring>

#include "driver/exit.h"

namespace tarvel {

owned_text change_extension(const char *filename, const char *extension) {
  if (filename == nullptr) return nullptr;
  if (std::strlen(extension) != 3) fatal_error("new extension must be 3 characters");
  const std::size_t length = std::strlen(filename);
  if (length <= 4 || filename[length - 4] != '.') fatal_error("filename does not have 3 character extension");
  owned_text name = try_duplicate(filename);
  if (!name) fatal_error("strdup() failed");
  std::memcpy(name.get() + length - 3, extension, 3);
  return name;
}

}  // namespace tarvel
