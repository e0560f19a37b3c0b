#pragma once
/// \file
/// VEX_ASSERT(expr): an invariant check that is on in every build. On failure it
/// writes "assertion failed: " and the expression text exactly as written in
/// the source to standard error and aborts the process. It is one statement,
/// safe in an unbraced if/else.
///
/// A tool that runs the library on someone's behalf (a script interpreter, say)
/// may know what it was doing when an assertion failed. It installs a context
/// writer, which the failure calls before it writes its own line:
///
///     Vex::assertionContextIs([](void* tool) { static_cast<Tool*>(tool)->saySomething(); }, this);
///     ...
///     Vex::assertionContextIs(nullptr, nullptr);  // before `this` goes
///
/// The writer writes to standard error itself and must not return by throwing.
/// It runs at most once: an assertion that fails inside it is reported without
/// context.

namespace Vex {

/// A tool's context writer, called with the data it was installed with.
using AssertionContextWriter = void (*)(void* data);

/// Reports a failed assertion of `expressionText` (after the context writer,
/// if any) and aborts. VEX_ASSERT calls it.
[[noreturn]] void assertionFailed(const char* expressionText) noexcept;

/// Installs the process-wide writer with the data it is called with; null
/// removes it.
void assertionContextIs(AssertionContextWriter writer, void* data) noexcept;

}  // namespace Vex

/// Aborts with "assertion failed: " and the text of `expr` when `expr` is false.
#define VEX_ASSERT(expr)                                    \
  do {                                                      \
    if (!(expr)) [[unlikely]] ::Vex::assertionFailed(#expr); \
  } while (false)
