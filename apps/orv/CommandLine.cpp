#include "CommandLine.hpp"

#include "Text.hpp"

#include <charconv>
#include <map>

#include <CLI/CLI.hpp>

namespace orv::app {
namespace {

constexpr int usage_exit = 2;

using OnConflict = std::optional<ConflictBehaviour>;
using SortKey = SortType::Key;

const std::map<std::string, OnConflict> conflict_words{{"ask", std::nullopt},
                                                       {"merge", ConflictBehaviour::merge},
                                                       {"replace", ConflictBehaviour::replace},
                                                       {"keep-both", ConflictBehaviour::keep_both},
                                                       {"stop", ConflictBehaviour::stop}};
