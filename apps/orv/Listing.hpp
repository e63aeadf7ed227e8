#pragma once

#include "CommandLine.hpp"
#include "LargeOutput.hpp"

#include <orv/Misc/ItemList.hpp>

#include <span>

namespace orv::app {

/// Writes `items`, one a line. On a terminal names are made safe to show; elsewhere they stay as
/// they are, except in JSON.
///
/// Errors: those of `output`.
void write_listing(LargeOutput& output, const ItemList& items, ListCommand::Form form);

/// Writes items in the same way, some at a time. JSON is one array in the end.
///
/// Errors: those of the output.
class ItemStream {
public:
    enum class Form { ways, paths, json };

    ItemStream(LargeOutput& output, Form form) : output_(output), form_(form) {}

    void write(std::span<const FileItem> items);

    /// Call it after all items; without it the output is no valid JSON.
    void finish();

private:
    LargeOutput& output_;
    Form form_;
    bool is_empty_ = true;
};

} // namespace orv::app
