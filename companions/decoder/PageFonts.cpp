#include "decoder/PageFonts.hpp"

#include "decoder/KeptFiles.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <string>

#include <fontconfig/fontconfig.h>

namespace orv::decoder {
namespace {

/// A desktop can have thousands of fonts. Each one kept is a descriptor.
constexpr std::size_t most_fonts = 300;

/// Fonts a page may name but not bring along, and scripts few fonts have.
constexpr std::array standard_fonts = {
    "Helvetica",   "Helvetica:bold", "Helvetica:italic", "Helvetica:bold:italic",
    "Times",       "Times:bold",     "Times:italic",     "Times:bold:italic",
    "Courier",     "Courier:bold",   "Courier:italic",   "Courier:bold:italic",
    "Symbol",      "ZapfDingbats",   "sans-serif",       "serif",
    "monospace",   ":lang=ja",       ":lang=ko",         ":lang=zh-cn",
    ":lang=zh-tw", ":lang=ar",       ":lang=he",         ":lang=hi",
    ":lang=th"};

struct PatternEnd {
    void operator()(FcPattern* pattern) const { ::FcPatternDestroy(pattern); }
};
using Pattern = std::unique_ptr<FcPattern, PatternEnd>;

std::string file_of(const FcPattern* font)
{
    FcChar8* file = nullptr;
    if (!font || ::FcPatternGetString(font, FC_FILE, 0, &file) != FcResultMatch)
        return {};
    return reinterpret_cast<const char*>(file);
}

/// The file of the font in place of a font with that name.
std::string file_for(const char* name)
{
    const Pattern wanted(::FcNameParse(reinterpret_cast<const FcChar8*>(name)));
    if (!wanted)
        return {};
    ::FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    ::FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    const Pattern found(::FcFontMatch(nullptr, wanted.get(), &result));
    return file_of(found.get());
}

/// The files of the kept fonts.
std::set<std::string> kept_fonts(const FcFontSet& fonts)
{
    std::set<std::string> files;
    const auto keep = [&](const std::string& file) {
        if (files.size() < most_fonts && !file.empty() && !files.contains(file) && keep_file(file))
            files.insert(file);
    };
    for (const char* name : standard_fonts)
        keep(file_for(name));
    for (int i = 0; i < fonts.nfont; ++i)
        keep(file_of(fonts.fonts[i]));
    return files;
}

} // namespace

void keep_page_fonts()
{
    keep_files_below("/usr/share/poppler");
    FcFontSet* fonts = ::FcConfigGetFonts(nullptr, FcSetSystem);
    if (!fonts)
        return;
    const std::set<std::string> kept = kept_fonts(*fonts);
    FcPattern** const end = fonts->fonts + fonts->nfont;
    FcPattern** const rest = std::stable_partition(
        fonts->fonts, end, [&](FcPattern* font) { return kept.contains(file_of(font)); });
    std::for_each(rest, end, ::FcPatternDestroy);
    fonts->nfont = static_cast<int>(rest - fonts->fonts);
}

} // namespace orv::decoder
