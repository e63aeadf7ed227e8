#include "Tool/Tool.hpp"

#include <orv/Operations/FetchItemsOpr.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Fatal.hpp>

#include <iostream>

namespace orv {

void exp_from_orv_file_management() {}

void exp_get_content_of_directory()
{
    std::int64_t total = 0;
    const auto print = [&](const FileItem& item) {
        std::cout << item.relative_path << " : " << (item.size ? std::to_string(*item.size) : "nil")
                  << '\n';
        if (__builtin_add_overflow(total, item.size.value_or(0), &total))
            fatal("The sizes in exp_get_content_of_directory() are too large to be added up.");
        return true;
    };
    try {
        Tool::iterate_contents("/Volumes/Untitled/1", true, true, std::nullopt, false, print);
    } catch (const Error& error) {
        std::cout << error.message() << '\n';
    }
    std::cout << "TOTAL: " << total << std::endl;
}

} // namespace orv
