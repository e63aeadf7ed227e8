#include "support/Records.hpp"

#include "CustomAttributes/CustomAttributes.hpp"

#include <algorithm>

namespace orv::test {

void store_rows(const Url& folder, const std::vector<std::string>& names)
{
    std::vector<CustomAttributes> attributes;
    for (const std::string& name : names)
        attributes.push_back({.url = folder.appending(name), .is_protected = true});
    save_all(attributes, false);
}

std::vector<std::string> stored_rows(const Url& folder)
{
    const std::string start = record_key(folder).text() + "/";
    std::vector<std::string> keys;
    for (const RecCustomAttr& record :
         RecCustomAttr::fetch_all("substr(relative_path, 1, length(?1)) = ?1", {start}))
        keys.push_back(record.relative_path.substr(start.size()));
    std::sort(keys.begin(), keys.end());
    return keys;
}

} // namespace orv::test
