#include "Operations/undo/AttributeSteps.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"

#include <algorithm>
#include <sstream>

namespace orv {
namespace {

/// Protection, position or "-", sorting now and ever; empty without stored attributes.
std::string attributes_text(const RecCustomAttr& record)
{
    const std::string position = record.order_no ? std::to_string(*record.order_no) : "-";
    return std::to_string(record.is_protected) + " " + position + " " +
           std::to_string(record.is_custom_sorted) + " " +
           std::to_string(record.was_custom_sorted_at_least_once);
}

RecCustomAttr record_in(const std::string& text, const RecordKey& key)
{
    RecCustomAttr record{.relative_path = key.text()};
    std::istringstream words(text);
    std::string position;
    words >> record.is_protected >> position >> record.is_custom_sorted >>
        record.was_custom_sorted_at_least_once;
    if (position != "-")
        record.order_no = std::stoll(position);
    return record;
}

std::string text_now(const Url& url)
{
    const auto record = RecCustomAttr::fetch(record_key(url));
    return record ? attributes_text(*record) : std::string();
}

} // namespace

AttributesBefore::AttributesBefore(const std::vector<CustomAttributes>& items)
{
    std::vector<Url> urls;
    urls.reserve(items.size());
    for (const CustomAttributes& item : items)
        urls.push_back(item.url);
    // Custom sorting is an attribute of the folder; the items of a list mostly share one.
    std::vector<Url> folders;
    for (const Url& url : urls)
        if (Url folder = url.deleting_last_path_component();
            folders.empty() || folders.back() != folder)
            folders.push_back(std::move(folder));
    urls.insert(urls.end(), folders.begin(), folders.end());
    keys_ = record_keys(urls);
    before_ = texts_now();
}

std::vector<UndoStep> AttributesBefore::changes() const
{
    const Texts after = texts_now();
    const auto text_in = [](const Texts& texts, const RecordKey& key) {
        const auto found = texts.find(key.text());
        return found == texts.end() ? std::string() : found->second;
    };
    std::vector<UndoStep> steps;
    for (const RecordKey& key : keys_) {
        UndoStep step{.verb = UndoVerb::attributes,
                      .action = UndoAction::set_attributes,
                      .url = url_from_resolved_path(key.text()),
                      .noted = undo_time(),
                      .before = text_in(before_, key),
                      .after = text_in(after, key)};
        if (step.before != step.after)
            steps.push_back(std::move(step));
    }
    return steps;
}

AttributesBefore::Texts AttributesBefore::texts_now() const
{
    Texts texts;
    for (const RecCustomAttr& record : RecCustomAttr::fetch_all(keys_))
        texts.emplace(record.relative_path, attributes_text(record));
    return texts;
}

bool has_attributes_before(const UndoStep& step)
{
    return text_now(step.url) == step.before;
}

bool has_attributes_after(const UndoStep& step)
{
    return text_now(step.url) == step.after;
}

void set_attributes_back(const UndoStep& step)
{
    const RecordKey key = record_key(step.url);
    if (step.before.empty())
        RecCustomAttr::delete_record(key);
    else
        RecCustomAttr::replace_all({record_in(step.before, key)});
}

} // namespace orv
