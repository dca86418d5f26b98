// Questions about long stretches of a track, answered without looking at each of their samples. For tracks on which a
// detector refuses candidate after candidate: looking at all samples behind each of them would be quadratic.
//
// Leaf k of the tree sums up the k-th block of samples, any other node its two children, which node n has at 2n and
// 2n + 1; node 1 is the root. It is made for the first question that leads beyond a few samples, and on most tracks
// none does. Without memory for it every question is answered sample by sample.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "support/memory.h"
#include "support/time.h"
#include "track/gps_point.h"

namespace tarvel {

// The first and last of several times, for the question whether one of them is so much later than a given time. Over
// times more than 146 million years apart, whose differences may wrap, the answer is always that one may be.
struct time_range {
  std::int64_t first = INT64_MAX;  // after the last: of no samples
  std::int64_t last = INT64_MIN;

  void add(const gps_point &sample) { add(time_range{sample.time, sample.time}); }
  void add(const time_range &others) {
    first = std::min(first, others.first);
    last = std::max(last, others.last);
  }

  // The span is less than 146 million years.
  [[nodiscard]] bool may_be_after(std::int64_t from, std::int64_t span) const {
    const bool may_wrap = static_cast<std::uint64_t>(elapsed(first, last)) > INT64_MAX / 2;
    return first <= last && (may_wrap || elapsed(from, first) >= span || elapsed(from, last) >= span);
  }
};

// A summary is that of no samples by default; add() takes a sample or another summary.
template <typename summary>
class sample_tree {
 public:
  explicit sample_tree(std::span<const gps_point> samples) : samples_(samples) {}

  // Of the samples [first, end), which are some.
  [[nodiscard]] summary between(std::size_t first, std::size_t end) {
    summary total;
    const std::size_t first_block = (first + block_size - 1) / block_size;
    const std::size_t end_block = end / block_size;
    if (end - first <= near || !make()) {
      add_samples(total, first, end);
      return total;
    }
    add_samples(total, first, first_block * block_size);
    add_samples(total, end_block * block_size, end);
    std::size_t left = leaf_count_ + first_block;
    std::size_t right = leaf_count_ + end_block;
    for (; left < right; left /= 2, right /= 2) {
      if (left % 2 != 0) total.add(nodes_[left++]);
      if (right % 2 != 0) total.add(nodes_[--right]);
    }
    return total;
  }

  // The first sample of [first, end) that meets the condition, or the end. A summary must meet it if one of its samples
  // does; a block whose summary meets it without costs a look at each of its samples.
  template <typename condition>
  [[nodiscard]] std::size_t find_first(std::size_t first, std::size_t end, condition is_met) {
    const std::size_t near_end = first + near;
    for (; first < near_end || first % block_size != 0 || !make(); ++first) {
      if (first >= end || is_met(samples_[first])) return std::min(first, end);
    }
    return first < end ? std::min(end, find_by_blocks(first / block_size, is_met)) : end;
  }

 private:
  static constexpr std::size_t block_size = 32;
  static constexpr std::size_t near = 64;  // samples, at least two blocks, that are not worth a tree

  // From that block on to the end of the track.
  template <typename condition>
  [[nodiscard]] std::size_t find_by_blocks(std::size_t block, condition is_met) const {
    std::size_t node = leaf_count_ + block;
    for (;;) {
      if (is_met(nodes_[node])) {
        if (node < leaf_count_) {
          node *= 2;
          continue;
        }
        const std::span<const gps_point> samples = samples_of_block(node - leaf_count_);
        const auto found = std::find_if(samples.begin(), samples.end(), is_met);
        if (found != samples.end()) return static_cast<std::size_t>(&*found - samples_.data());
      }
      // On to the right, and there up to the greatest node that begins with the same block.
      ++node;
      if (std::has_single_bit(node)) return samples_.size();
      node >>= std::countr_zero(node);
    }
  }

  // The last blocks of the tree may have no samples.
  [[nodiscard]] std::span<const gps_point> samples_of_block(std::size_t block) const {
    const std::size_t first = std::min(block * block_size, samples_.size());
    return samples_.subspan(first, std::min(block_size, samples_.size() - first));
  }

  void add_samples(summary &total, std::size_t first, std::size_t end) const {
    for (; first < end; ++first) total.add(samples_[first]);
  }

  // False when memory is short.
  [[nodiscard]] bool make() {
    if (leaf_count_ != 0) return nodes_ != nullptr;
    const std::size_t block_count = (samples_.size() + block_size - 1) / block_size;
    leaf_count_ = std::bit_ceil(block_count);
    if (!try_resize(nodes_, 2 * leaf_count_)) return false;
    for (std::size_t block = 0; block < leaf_count_; ++block) {
      summary &leaf = nodes_[leaf_count_ + block] = summary();
      add_samples(leaf, block * block_size, std::min((block + 1) * block_size, samples_.size()));
    }
    for (std::size_t node = leaf_count_ - 1; node > 0; --node) {
      nodes_[node] = nodes_[2 * node];
      nodes_[node].add(nodes_[2 * node + 1]);
    }
    return true;
  }

  std::span<const gps_point> samples_;
  owned_array<summary> nodes_;
  std::size_t leaf_count_ = 0;  // 0: nobody has asked for the tree
};

}  // namespace tarvel
