#include "Operations/frame/Replacing.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"

namespace orv {

void delete_records_of_replaced(const Url& destination)
{
    RecCustomAttr::delete_records(record_key_of_entry(destination));
}

Error after_removal(const Error& error)
{
    const std::string more =
        " The item that was to be replaced is gone, since its volume has no room for both.";
    return Error(error.sentence() + more).with_message(error.message() + more).because_of(error);
}

} // namespace orv
