// Sums and searches over long stretches of a track in logarithmic time. Needed for tracks on which a detector refuses
// many candidates: a loop over all samples after each candidate would take quadratic time.
//
// Leaf k of the tree holds the summary of the k-th block of samples; any other node n holds that of its children, 2n
// and 2n + 1; node 1 is the root. The tree is built when a stretch of more than a few samples is first needed; on most
// tracks it never is. When memory is short, every sample is read instead.
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

// The first and last of several times. may_be_after() tests whether one of them may be later than a given time by some
// span. When the times are more than 146 million years apart, their differences may wrap, and it is always true.
struct time_range {
  std::int64_t first = INT64_MAX;  // later than last when there are no samples
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

// A default-constructed summary is that of no samples; add() takes a sample or another summary.
template <typename summary>
class sample_tree {
 public:
  explicit sample_tree(std::span<const gps_point> samples) : samples_(samples) {}

  // The summary of the samples [first, end), of which there is at least one.
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

  // The first sample of [first, end) that meets the condition, or end. The condition must hold for a summary when it
  // holds for one of its samples. It may hold for other summaries, too; then all samples of the block are tested.
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
  static constexpr std::size_t near = 64;  // samples, at least two blocks; shorter stretches do without the tree

  // Searches from that block to the end of the track.
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
      // The next node to the right, then up to its highest ancestor that begins with the same block.
      ++node;
      if (std::has_single_bit(node)) return samples_.size();
      node >>= std::countr_zero(node);
    }
  }

  // Empty for the last blocks of the tree, which may lie after the end of the track.
  [[nodiscard]] std::span<const gps_point> samples_of_block(std::size_t block) const {
    const std::size_t first = std::min(block * block_size, samples_.size());
    return samples_.subspan(first, std::min(block_size, samples_.size() - first));
  }

  void add_samples(summary &total, std::size_t first, std::size_t end) const {
    for (; first < end; ++first) total.add(samples_[first]);
  }

  // Builds the tree at the first call. False when memory is short.
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
  std::size_t leaf_count_ = 0;  // 0: make() has not been called
};

}  // namespace tarvel
