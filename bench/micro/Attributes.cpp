#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "micro/Micro.hpp"

#include <fmt/format.h>

namespace orv::bench {
namespace {

constexpr int row_count = 10'000;

RecordKey key_of(int number)
{
    return RecordKey(fmt::format("Documents/item {}", number));
}

Database& filled_database()
{
    Database& database = shared_db_manager().db();
    static const bool is_filled = database.save_point([&] {
        for (int i = 0; i < row_count; ++i)
            database.execute("REPLACE INTO custom_attributes (relative_path) VALUES (?)",
                             {key_of(i).text()});
        return true;
    });
    benchmark::DoNotOptimize(is_filled);
    return database;
}

void look_up_all(std::int64_t& count)
{
    for (int i = 0; i < row_count; ++i)
        count += RecCustomAttr::fetch(key_of(i)).has_value();
}

void attribute_lookup(benchmark::State& state)
{
    filled_database();
    std::int64_t count = 0;
    for ([[maybe_unused]] auto _ : state)
        look_up_all(count);
    count_items(state, count);
}
BENCHMARK(attribute_lookup)->Unit(benchmark::kMillisecond);

void attribute_lookup_in_transaction(benchmark::State& state)
{
    Database& database = filled_database();
    std::int64_t count = 0;
    for ([[maybe_unused]] auto _ : state)
        database.read_transaction([&] { look_up_all(count); });
    count_items(state, count);
}
BENCHMARK(attribute_lookup_in_transaction)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace orv::bench
