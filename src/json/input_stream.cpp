#include "json/input_stream.h"

#include <fcntl.h>
#include <nettle/base16.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "driver/standard_streams.h"

namespace tarvel {

namespace {

constexpr std::size_t block_size = 65536;

void digest_bytes(input_stream &input, const void *bytes, std::size_t size) {
  sha256_update(&input.digest, size, static_cast<const std::uint8_t *>(bytes));
  input.digested += static_cast<std::int64_t>(size);
}

// After a seek forwards nothing is added to the digest: finish_digest() first reads the bytes that were passed over.
ssize_t read_file(void *cookie, char *bytes, std::size_t size) {
  input_stream &input = *static_cast<input_stream *>(cookie);
  const ssize_t got = read(input.descriptor, bytes, size);
  if (got <= 0) return got;
  const std::int64_t end = input.position + got;
  if (input.position <= input.digested && end > input.digested) {
    const std::int64_t old = input.digested - input.position;
    digest_bytes(input, bytes + old, static_cast<std::size_t>(got - old));
  }
  input.position = end;
  return got;
}

int seek_file(void *cookie, off64_t *offset, int whence) {
  input_stream &input = *static_cast<input_stream *>(cookie);
  const off_t position = lseek(input.descriptor, *offset, whence);
  if (position < 0) return -1;
  input.position = *offset = position;
  return 0;
}

int close_file(void *cookie) { return close(static_cast<input_stream *>(cookie)->descriptor); }

void open_file(int descriptor, input_stream &input) {
  input.descriptor = descriptor;
  input.stream.reset(fopencookie(&input, "rb", {read_file, nullptr, seek_file, close_file}));
  if (!input.stream) {
    close(descriptor);
  } else if (try_resize(input.buffer, block_size)) {
    std::setvbuf(input.stream.get(), input.buffer.get(), _IOFBF, block_size);
  }
}

void read_pipe(int descriptor, const char *path, input_stream &input, error_slot *error) {
  std::size_t size = 0;
  std::size_t room = 0;
  ssize_t got = 1;
  while (got > 0) {
    if (size == room && !try_reserve(input.kept, room, std::uint64_t{room} + 1, block_size)) {
      *error = "realloc failed";
      return;
    }
    got = read(descriptor, input.kept.get() + size, room - size);
    if (got > 0) {
      digest_bytes(input, input.kept.get() + size, static_cast<std::size_t>(got));
      size += static_cast<std::size_t>(got);
    }
  }
  if (got < 0) {
    *error = format_error("failed to read file: %s", path);
    return;
  }
  // fmemopen() refuses an empty buffer.
  input.stream.reset(size == 0 ? std::fopen("/dev/null", "rb") : fmemopen(input.kept.get(), size, "rb"));
}

bool is_file(const struct stat &status) { return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode); }

}  // namespace

void open_input_stream(const char *path, input_stream &input, error_slot *error) {
  *error = nullptr;
  sha256_init(&input.digest);
  const bool is_standard_input = std::strcmp(path, "-") == 0;
  const int descriptor = is_standard_input ? STDIN_FILENO : open(path, O_RDONLY | O_CLOEXEC);
  struct stat status = {};
  const bool is_input = descriptor >= 0 && fstat(descriptor, &status) == 0 && redirect_streams_from(status);
  if (is_input && !is_standard_input && is_file(status)) {
    open_file(descriptor, input);
  } else {
    if (is_input) read_pipe(descriptor, path, input, error);
    if (descriptor >= 0 && !is_standard_input) close(descriptor);
  }
  if (!input.stream && *error == nullptr) *error = format_error("failed to open file: %s", path);
}

digest_text finish_digest(input_stream &input) {
  std::FILE *const stream = input.stream.get();
  if (fseeko(stream, input.digested, SEEK_SET) == 0) {
    std::array<char, block_size> block;
    while (std::fread(block.data(), 1, block.size(), stream) == block.size()) {
    }
  }
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> binary;
  sha256_digest(&input.digest, binary.size(), binary.data());
  digest_text digest;
  base16_encode_update(digest.text, binary.size(), binary.data());
  return digest;
}

}  // namespace tarvel
