#include <hubstore/foundations/framework/string.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include <hubstore/foundations/framework/reference_count.h>

namespace Vex {

String::Rep* String::allocate(std::string_view text) {
  void* memory = std::malloc(offsetof(Rep, text) + text.size() + 1);
  if (!memory) throw std::bad_alloc();
  Rep* rep = static_cast<Rep*>(memory);
  rep->references = 1;
  rep->size = static_cast<std::uint32_t>(text.size());
  std::memcpy(rep->text, text.data(), text.size());
  rep->text[text.size()] = '\0';
  return rep;
}

String::String(const char* text) : rep_(text ? allocate(text) : nullptr) {}
String::String(const char* text, std::size_t length) : rep_(allocate(std::string_view(text, length))) {}
String::String(std::string_view text) : rep_(allocate(text)) {}

String::String(const String& other) noexcept : rep_(other.rep_) {
  if (rep_) countIncrement(rep_->references);
}

String::~String() { release(); }

void String::release() noexcept {
  if (rep_ && countDecrement(rep_->references)) std::free(rep_);
  rep_ = nullptr;
}

String& String::operator=(const String& other) noexcept {
  if (other.rep_) countIncrement(other.rep_->references);
  release();
  rep_ = other.rep_;
  return *this;
}

String& String::operator=(String&& other) noexcept {
  if (this != &other) {
    release();
    rep_ = other.rep_;
    other.rep_ = nullptr;
  }
  return *this;
}

String String::operator+(std::string_view suffix) const {
  std::string joined(view());
  joined += suffix;
  return String(std::string_view(joined));
}

String operator+(const char* prefix, const String& s) {
  std::string joined(prefix ? prefix : "");
  joined += s.view();
  return String(std::string_view(joined));
}

}  // namespace Vex
