#include "TotalSize.hpp"

#include <orv/orv.hpp>

#include <filesystem>
#include <system_error>
#include <utility>

namespace orv::app {

struct TotalSize::Sum {
    std::vector<Url> left;
    std::function<void(std::int64_t)> known;
    std::int64_t bytes = 0;
    std::shared_ptr<FolderSizeOperation> under_way;
};

TotalSize::TotalSize(std::vector<Url> items, std::function<void(std::int64_t)> known)
    : sum_(std::make_shared<Sum>())
{
    sum_->left = std::move(items);
    sum_->known = std::move(known);
    go_on(sum_);
}

TotalSize::~TotalSize()
{
    if (sum_->under_way)
        sum_->under_way->cancel();
}

bool TotalSize::is_busy() const
{
    return sum_->under_way != nullptr;
}

void TotalSize::go_on(const std::shared_ptr<Sum>& sum)
{
    sum->under_way = nullptr;
    while (!sum->left.empty()) {
        const Url item = sum->left.back().resolving_symlinks();
        sum->left.pop_back();
        std::error_code no_file;
        if (const auto size = std::filesystem::file_size(item, no_file); !no_file) {
            sum->bytes += static_cast<std::int64_t>(size);
            continue;
        }
        sum->under_way = OrvFileManager::singleton().calculate_folder_size(
            item, [sum](const FolderSizeOperation::Status& status) {
                const auto* found = std::get_if<FolderSizeOperation::success>(&status);
                if (!found) {
                    sum->under_way = nullptr;
                    return;
                }
                sum->bytes += found->folder_size;
                go_on(sum);
            });
        return;
    }
    sum->known(sum->bytes);
}

} // namespace orv::app
