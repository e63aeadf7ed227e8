#include "Operations/transfer/CopiedFiles.hpp"

#include <string>

namespace orv {

// A step of the record is a text: the number of the source and both paths, without NUL bytes in
// them.

void CopiedFiles::add(const CopiedFile& file)
{
    std::string text = std::to_string(file.source);
    text.append(1, '\0').append(file.original.path());
    text.append(1, '\0').append(file.copy.path());
    record_.add_item(text, {});
}

void CopiedFiles::for_each(FunctionRef<void(const CopiedFile& file)> use) const
{
    CopyRecord::Reader reader(record_);
    while (reader.next()) {
        const std::string& text = reader.name();
        const std::size_t original = text.find('\0') + 1;
        const std::size_t copy = text.find('\0', original) + 1;
        use({std::stoul(text), text.substr(original, copy - original - 1), text.substr(copy)});
    }
}

} // namespace orv
