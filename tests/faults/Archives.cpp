#include "faults/Archives.hpp"

#include "archive/Zip.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <filesystem>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t tick = 100;

/// Whether the archive can be unpacked, and all that is wanted comes out of it and nothing else.
bool holds(const std::string& archive, const MadeArchive& wanted, Strictness strictness)
{
    const Scratch scratch;
    write_file(scratch / "archive", archive);
    fs::create_directory(scratch / "out");
    try {
        Zip::unzipFile(scratch / "archive", scratch / "out", wanted.password, nullptr, false,
                       nullptr);
    } catch (const Zip::Error&) {
        return false;
    }
    const auto are_alike = [&](const auto& one, const auto& other) {
        return one.first == other.first && is_like(one.second, other.second, strictness);
    };
    return std::ranges::equal(snapshot_of(scratch / "out"), wanted.content, are_alike);
}

} // namespace

std::string packed(const Snapshot& items)
{
    const Scratch scratch;
    build(scratch.url(), items);
    std::vector<Url> top;
    for (const auto& [path, item] : items)
        if (path.find('/') == std::string::npos)
            top.push_back(scratch / path);
    const Url archive = scratch / "the archive";
    Zip::zipFiles(top, archive, std::nullopt, ZipCompression::default_compression, nullptr, false,
                  nullptr);
    return read_file(archive);
}

Snapshot kept_by_archive(Snapshot items)
{
    for (auto& [path, item] : items) {
        item.extended_attributes.clear();
        item.has_holes = false;
        if (item.time)
            *item.time -= *item.time % tick;
    }
    return items;
}

void recognise_archive(const FaultCase& request, Snapshot& items, Strictness strictness)
{
    if (!request.archive)
        return;
    const auto found = items.find(request.archive->path);
    if (found != items.end() && S_ISREG(found->second.type) &&
        holds(found->second.content, *request.archive, strictness))
        found->second.content = request.after.items.at(request.archive->path).content;
}

} // namespace orv::test
