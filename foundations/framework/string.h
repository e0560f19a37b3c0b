#pragma once
/// \class Vex::String
/// An immutable string over a shared, counted buffer.
///
/// Copies share the buffer (one count increment, no allocation), so strings are
/// passed by value through handlers and used as collection keys. A default
/// constructed string is null, which is kept apart from the empty string:
/// String().isNull() but not String("").isNull(), and the two do not compare
/// equal. Transformations return a new string.
///
/// Vex::Name is the same type under the name that collection keys use.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Vex {

class String {
 public:
  /// The null string.
  String() noexcept = default;
  /// A copy of `text` in a new buffer, so an empty text gives the empty string;
  /// only a null `const char*` gives the null string.
  ///@{
  String(const char* text);
  String(const char* text, std::size_t length);
  String(std::string_view text);
  String(const std::string& text) : String(std::string_view(text)) {}
  ///@}
  /// Copies share the buffer; a moved-from string is null.
  ///@{
  String(const String& other) noexcept;
  String(String&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
  ///@}
  /// Drops the buffer's reference; the last one frees it.
  ~String();
  /// Assignment shares the buffer; a moved-from string is null.
  ///@{
  String& operator=(const String& other) noexcept;
  String& operator=(String&& other) noexcept;
  ///@}

  /// Whether this is the null string (not the empty one).
  bool isNull() const noexcept { return rep_ == nullptr; }
  /// Whether it has no characters (true of the null string too).
  bool empty() const noexcept { return size() == 0; }
  /// The number of characters; 0 for the null string.
  std::size_t size() const noexcept { return rep_ ? rep_->size : 0; }
  /// Always a valid C string ("" for the null string).
  const char* c_str() const noexcept { return rep_ ? rep_->text : ""; }
  /// The characters, valid while this string lives.
  std::string_view view() const noexcept { return {c_str(), size()}; }
  /// A copy of the characters.
  std::string stdString() const { return std::string(view()); }
  /// The hash of the characters (null and empty hash alike).
  std::size_t hash() const noexcept { return std::hash<std::string_view>()(view()); }

  /// A new string: this one followed by `suffix`.
  [[nodiscard]] String operator+(std::string_view suffix) const;

  /// Equal texts compare equal; the null string equals only itself.
  friend bool operator==(const String& a, const String& b) noexcept {
    if (a.rep_ == b.rep_) return true;
    if (!a.rep_ || !b.rep_) return false;
    return a.view() == b.view();
  }
  /// Text order, with the null string first.
  friend bool operator<(const String& a, const String& b) noexcept {
    if (a.rep_ == b.rep_) return false;
    if (!a.rep_) return true;  // null sorts first
    if (!b.rep_) return false;
    return a.view() < b.view();
  }
  /// <0, 0 or >0 as this string sorts before, equal to or after `other`, in
  /// the order of operator< (one comparison of the texts).
  int compare(const String& other) const noexcept {
    if (rep_ == other.rep_) return 0;
    if (!rep_) return -1;
    if (!other.rep_) return 1;
    return view().compare(other.view());
  }
  /// Compares with a text; the null string equals none, not even "".
  ///@{
  friend bool operator==(const String& a, std::string_view b) noexcept { return !a.isNull() && a.view() == b; }
  friend bool operator==(const String& a, const char* b) noexcept { return a == std::string_view(b); }
  ///@}

 private:
  struct Rep {
    std::uint32_t references;
    std::uint32_t size;
    char text[1];
  };
  static Rep* allocate(std::string_view text);
  void release() noexcept;

  Rep* rep_ = nullptr;
};

/// Concatenation of a C string with a string, the form the traces build.
[[nodiscard]] String operator+(const char* prefix, const String& s);

/// The string type under the name that collection keys use.
using Name = String;

}  // namespace Vex

/// Hashes a Vex::String by its characters, for unordered containers.
template <>
struct std::hash<Vex::String> {
  /// String::hash().
  std::size_t operator()(const Vex::String& s) const noexcept { return s.hash(); }
};
