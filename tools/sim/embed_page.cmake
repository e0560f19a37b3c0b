# Writes OUTPUT, a C++ source whose timelinePage() returns the text of INPUT.
file(READ ${INPUT} page)
if(page MATCHES "\\)page\"")
  message(FATAL_ERROR "${INPUT} holds the raw string's end )page\"")
endif()
file(WRITE ${OUTPUT} "// Generated from ${INPUT} by embed_page.cmake.
#include \"tools/sim/timeline_page.h\"

namespace hubstore::sim {

std::string_view timelinePage() {
  static constexpr char page[] = R\"page(${page})page\";
  return {page, sizeof page - 1};
}

}  // namespace hubstore::sim
")
