#pragma once

namespace orv::decoder {

/// Keeps open what pages need that do not bring their fonts along: the fonts that stand for those
/// every PDF may use, then as many others as there is room for, and the tables of characters. From
/// then on no other font is found, so that text is drawn in the nearest of those kept.
///
/// Threading: before any page is read.
void keep_page_fonts();

} // namespace orv::decoder
