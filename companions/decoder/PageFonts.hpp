#pragma once

namespace orv::decoder {

/// Keeps fonts open for pages without fonts of their own: the replacements for those every PDF may
/// use, then as many others as there is room for, and the tables of characters. From then on no
/// other font is available, and text appears in the nearest kept one.
///
/// Threading: before the first page.
void keep_page_fonts();

} // namespace orv::decoder
