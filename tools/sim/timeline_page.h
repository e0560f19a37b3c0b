#pragma once
// The page that Timeline::writeHtml fills: timeline_page.html, built into the
// tool (embed_page.cmake), with the marker @TIMELINE_DATA@ where the run's
// data goes.

#include <string_view>

namespace hubstore::sim {

std::string_view timelinePage();

}  // namespace hubstore::sim
