#include "Operations/transfer/TransferProblems.hpp"

#include "Operations/transfer/TransferErrors.hpp"
#include "files/FreeSpace.hpp"
#include "utility/Text.hpp"

#include <cerrno>

namespace orv {

void TransferProblems::look_at(std::string_view name, const ItemFacts& facts,
                               FunctionRef<Url()> url)
{
    if (!traits_.takes_name(name))
        add(url(), transfer_place("The destination's volume can't hold this name.").at(url()));
    else if (traits_.ignores_case && !names_.back().insert(fold_key(name)).second)
        add(url(), transfer_place("The destination's volume takes this name for another one's.")
                       .at(url()));
    if (S_ISREG(facts.stx_mode) &&
        static_cast<std::int64_t>(facts.stx_size) > traits_.max_file_size)
        add(url(), transfer_place("The file is too large for the destination's volume.")
                       .because_of(platform_error(EFBIG, url())));
}

void TransferProblems::check_room(const Url& folder, std::int64_t needed)
{
    const auto free = free_bytes(folder);
    if (free && needed > *free)
        add(folder, transfer_place("The destination has room for " + std::to_string(*free) +
                                   " bytes, but " + std::to_string(needed) + " are needed.")
                        .because_of(platform_error(ENOSPC, folder)));
}

} // namespace orv
