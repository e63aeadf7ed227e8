#include "Tool/ToolErrors.hpp"

#include <string_view>

namespace orv {
namespace {

constexpr std::string_view source_name = "src/Tool/Tool";

Error walk_error(std::string_view sentence, int line)
{
    return error_msg(sentence, source_name,
                     "iterate_contents(of:inclusive:recursive:recursion_depth:"
                     "include_hidden_files:consume:)",
                     line);
}

} // namespace

Error move_error(const Error& cause)
{
    return error_msg("Couldn't move the item", source_name, "move_item(from:to:)", 234)
        .appending_error(cause);
}

Error error_at_destination(const std::string& what, const Error& cause)
{
    const std::string all = "it is complete at its destination, but " + what;
    const Error told = move_error(Error(all).appending_error(cause));
    return Error("Couldn't move the item: " + all + ".")
        .with_message(told.message())
        .because_of(cause);
}

Error enumerator_error(const Error& cause)
{
    return walk_error("Couldn't create directory enumerator.", 118).because_of(cause);
}

Error missing_root_error()
{
    return walk_error("Given url doesn't point to an existing item.", 78).known_as(Cause::missing);
}

} // namespace orv
