#include "json/input_bytes.h"

#include <fcntl.h>
#include <nettle/base16.h>
#include <nettle/sha2.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace tarvel {

namespace {

constexpr std::size_t smallest_room = 65536;

// One byte more than a file has, so that its end is seen without more room.
std::size_t room_for(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return smallest_room;
  return static_cast<std::size_t>(status.st_size) + 1;
}

void read_to_end(int descriptor, const char *path, input_bytes &input, error_slot *error) {
  std::size_t room = 0;
  ssize_t got = 1;
  while (got > 0) {
    if (input.size == room && !try_reserve(input.data, room, std::uint64_t{room} + 1, room_for(descriptor))) {
      *error = "realloc failed";
      return;
    }
    got = read(descriptor, input.data.get() + input.size, room - input.size);
    if (got > 0) input.size += static_cast<std::size_t>(got);
  }
  if (got < 0) *error = format_error("failed to read file: %s", path);
}

}  // namespace

void read_input(const char *path, input_bytes &input, error_slot *error) {
  *error = nullptr;
  if (std::strcmp(path, "-") == 0) return read_to_end(STDIN_FILENO, path, input, error);
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    *error = format_error("failed to open file: %s", path);
    return;
  }
  read_to_end(descriptor, path, input, error);
  close(descriptor);
}

file_handle open_bytes_stream(const input_bytes &input) {
  // A stream in memory cannot be empty.
  if (input.size == 0) return file_handle(std::fopen("/dev/null", "rb"));
  return file_handle(fmemopen(input.data.get(), input.size, "rb"));
}

digest_text sha256_of(std::span<const unsigned char> bytes) {
  digest_text digest;
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, bytes.size(), bytes.data());
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> binary;
  sha256_digest(&context, binary.size(), binary.data());
  base16_encode_update(digest.text, binary.size(), binary.data());
  return digest;
}

}  // namespace tarvel
