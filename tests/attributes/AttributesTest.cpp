#include "attributes/AttributesTest.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"

#include <orv/utility/Locations.hpp>

#include <filesystem>

namespace orv::test {
namespace {

const Scratch& places()
{
    static const Scratch the_places;
    [[maybe_unused]] static const bool configured = [] {
        Locations locations;
        locations.home_dir = the_places / "home";
        configure_locations(locations);
        return true;
    }();
    return the_places;
}

} // namespace

AttributesTest::AttributesTest()
{
    for (const Url& url : {home(""), outside("")}) {
        std::filesystem::remove_all(url);
        std::filesystem::create_directories(url);
    }
    manager_.setup(folder_ / "db.sqlite");
    set_shared_db_manager(&manager_);
}

AttributesTest::~AttributesTest()
{
    set_shared_db_manager(nullptr);
}

Url AttributesTest::home(std::string_view name)
{
    return (places() / "home").appending(name);
}

Url AttributesTest::outside(std::string_view name)
{
    return (places() / "outside").appending(name);
}

void AttributesTest::put(const Texts& rows)
{
    std::vector<RecCustomAttr> records;
    for (const std::string& row : rows) {
        const std::size_t equals = row.rfind('=');
        RecCustomAttr record;
        record.relative_path = row.substr(0, equals);
        record.order_no = std::stoll(row.substr(equals + 1));
        records.push_back(record);
    }
    replace_in(database(), "custom_attributes", records);
}

Texts AttributesTest::rows()
{
    Texts found;
    for (const RecCustomAttr& record : RecCustomAttr::fetch_all("1")) {
        std::string row = record.relative_path + "=";
        if (record.order_no)
            row += std::to_string(*record.order_no);
        if (record.is_protected != 0)
            row += " protected";
        if (record.is_custom_sorted != 0)
            row += " sorted";
        if (record.was_custom_sorted_at_least_once != 0)
            row += " once";
        found.push_back(row);
    }
    return in_order(std::move(found));
}

} // namespace orv::test
