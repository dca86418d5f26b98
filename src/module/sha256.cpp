#include "module/sha256.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tarvel {

namespace {

constexpr std::size_t block_size = 64;
constexpr std::size_t length_size = 8;  // bytes at the end of the last block, which hold the length in bits

using digest_words = std::array<std::uint32_t, 8>;

// The fractional parts of the square roots of the first 8 primes.
constexpr digest_words first_digest = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

// The fractional parts of the cube roots of the first 64 primes.
constexpr std::array<std::uint32_t, 64> round_constants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

std::uint32_t word_at(const unsigned char *bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

std::array<std::uint32_t, 64> schedule_of(const unsigned char *block) {
  std::array<std::uint32_t, 64> w;
  for (std::size_t i = 0; i < 16; ++i) w[i] = word_at(block + 4 * i);
  for (std::size_t i = 16; i < w.size(); ++i) {
    const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
    const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  return w;
}

void digest_block(digest_words &digest, const unsigned char *block) {
  const std::array<std::uint32_t, 64> w = schedule_of(block);
  auto [a, b, c, d, e, f, g, h] = digest;
  for (std::size_t i = 0; i < w.size(); ++i) {
    const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + round_constants[i] + w[i];
    const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const digest_words added = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < digest.size(); ++i) digest[i] += added[i];
}

// The bytes after the last whole block, a set bit, zeros and the length.
void digest_end(digest_words &digest, std::span<const unsigned char> rest, std::uint64_t size) {
  std::array<unsigned char, 2 *block_size> end = {};
  std::copy(rest.begin(), rest.end(), end.begin());
  end[rest.size()] = 0x80;
  const std::size_t length = rest.size() < block_size - length_size ? block_size : 2 * block_size;
  for (std::size_t i = 0; i < length_size; ++i) {
    end[length - 1 - i] = static_cast<unsigned char>(size * 8 >> 8 * i);
  }
  for (std::size_t i = 0; i < length; i += block_size) digest_block(digest, end.data() + i);
}

}  // namespace

sha256_text sha256_of(std::span<const char> bytes) {
  const std::span<const unsigned char> data(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
  digest_words digest = first_digest;
  const std::size_t whole = data.size() - data.size() % block_size;
  for (std::size_t i = 0; i < whole; i += block_size) digest_block(digest, data.data() + i);
  digest_end(digest, data.subspan(whole), data.size());

  constexpr const char *digits = "0123456789abcdef";
  sha256_text result;
  char *next = result.text;
  for (const std::uint32_t word : digest) {
    for (int shift = 28; shift >= 0; shift -= 4) *next++ = digits[word >> shift & 15U];
  }
  return result;
}

}  // namespace tarvel
