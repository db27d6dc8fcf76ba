#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

/// The id of an item, a type, a shape or a graphics representation: one unsigned 64-bit integer.
///
/// Thread safety: `NewId` may be called from any thread; one object is used by one thread at a time.
class MIREL_HOST_API ObjectId {
 public:
  /// The default id, whose integer is 0. `NewId` never gives it.
  ObjectId() noexcept = default;

  explicit ObjectId(unsigned long long integer) noexcept : value_(integer) {}

  /// Reads the form that `toString` writes: a decimal integer of at most 64 bits without sign or spaces. Any other
  /// text gives the default id.
  explicit ObjectId(const std::string& text) noexcept;

  /// A fresh id: never 0, distinct from every id drawn before in this process, and practically distinct from the ids
  /// that other processes drew (they start at random places of one sequence through all 2^64 integers), so that a
  /// model read from a file can be extended.
  static ObjectId NewId();

  /// The integer in decimal; `ObjectId(id.toString()) == id`.
  std::string toString() const;

  const unsigned long long& GetInteger() const noexcept { return value_; }
  void SetInteger(const unsigned long long& value) noexcept { value_ = value; }

  friend bool operator==(const ObjectId& a, const ObjectId& b) noexcept { return a.value_ == b.value_; }
  friend bool operator!=(const ObjectId& a, const ObjectId& b) noexcept { return a.value_ != b.value_; }

 private:
  unsigned long long value_ = 0;
};

}  // namespace mirel
