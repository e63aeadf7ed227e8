#include "archive/LinkJudge.hpp"

#include "archive/PathNames.hpp"

namespace orv::archive {
namespace {

constexpr std::size_t max_link_target = 4095;
constexpr int max_links_followed = 40; // as the kernel

} // namespace

std::string read_link_target(const ArchiveToRead& archive, const Entry& entry, EntryReader& reader)
{
    if (entry.size > max_link_target)
        throw damaged(archive.url, entry.name);
    std::string target;
    reader.read(entry, [&](ByteView part) {
        target.append(reinterpret_cast<const char*>(part.data()), part.size());
    });
    if (target.empty() || target.find('\0') != std::string::npos)
        throw damaged(archive.url, entry.name);
    return target;
}

LinkJudge::LinkJudge(const ArchiveToRead& archive, const PlannedTree& tree, EntryReader& reader,
                     const Job& job)
    : archive_(archive), tree_(tree), reader_(reader), job_(job)
{
}

bool LinkJudge::leads_outside(const PlannedItem& link)
{
    return follow(link, 0).outcome == Outcome::outside;
}

/// The end of the link. It follows each link once, in linear time for all of them together.
LinkJudge::End LinkJudge::follow(const PlannedItem& link, int links_above)
{
    if (const auto known = ends_.find(&link); known != ends_.end())
        return known->second;
    if (links_above > max_links_followed)
        return {Outcome::outside, {}};
    job_.check();
    ends_.emplace(&link, End{});
    const std::string target = read_link_target(archive_, *link.entry, reader_);
    return ends_.at(&link) = walk(link, target, links_above);
}

LinkJudge::End LinkJudge::walk(const PlannedItem& link, std::string_view target, int links_above)
{
    if (target.starts_with('/'))
        return {Outcome::outside, {}};
    End end{Outcome::inside, {link.folder}};
    for_each_name(target, [&](std::string_view name) {
        if (end.outcome == Outcome::inside)
            end = step(end.place, name, links_above);
    });
    return end;
}

LinkJudge::End LinkJudge::step(const Place& from, std::string_view name, int links_above)
{
    if (name == ".")
        return {Outcome::inside, from};
    if (name == "..") {
        if (from.names_below > 0)
            return {Outcome::inside, {from.item, from.names_below - 1}};
        if (!from.item)
            return {Outcome::outside, {}};
        return {Outcome::inside, {from.item->folder}};
    }
    const PlannedItem* item = from.names_below == 0 ? tree_.find(from.item, name) : nullptr;
    if (!item)
        return {Outcome::inside, {from.item, from.names_below + 1}};
    if (item->kind == ItemKind::link)
        return follow(*item, links_above + 1);
    return {Outcome::inside, {item}};
}

} // namespace orv::archive
