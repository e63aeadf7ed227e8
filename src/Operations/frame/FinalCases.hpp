#pragma once

#include <orv/Operations/EmptyTrashOpr.hpp>
#include <orv/Operations/FetchByAttrOpr.hpp>
#include <orv/Operations/FetchItemsOpr.hpp>
#include <orv/Operations/FetchTrashedOpr.hpp>
#include <orv/Operations/FolderSizeOpr.hpp>
#include <orv/Operations/MoveToTrashOpr.hpp>
#include <orv/Operations/NewFolderOpr.hpp>
#include <orv/Operations/ReserveFileUrlOpr.hpp>
#include <orv/Operations/RestoreOpr.hpp>
#include <orv/Operations/SearchItemsOpr.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/Operations/ThumbGenerateOpr.hpp>
#include <orv/Operations/UndoOpr.hpp>

#include <type_traits>
#include <variant>

namespace orv {

/// True for a final case of a status. A request with a case missing here does not compile.
template <class Case>
struct IsFinalCase;

template <>
struct IsFinalCase<status::success> : std::true_type {
};
template <>
struct IsFinalCase<status::error> : std::true_type {
};
template <>
struct IsFinalCase<status::cancelled> : std::true_type {
};
template <>
struct IsFinalCase<status::preparing> : std::false_type {
};
template <>
struct IsFinalCase<status::conflict_occured> : std::false_type {
};
template <class Record>
struct IsFinalCase<status::progress<Record>> : std::false_type {
};

template <>
struct IsFinalCase<EmptyTrashOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<FetchByAttrOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<FetchItemsOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<FetchTrashedOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<FolderSizeOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<MoveToTrashOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<NewFolderOperation::error> : std::true_type {
};
template <>
struct IsFinalCase<ReserveFileUrlOpr::success> : std::true_type {
};
template <>
struct IsFinalCase<RestoreOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<SearchItemsOperation::currently_fetched> : std::false_type {
};
template <>
struct IsFinalCase<SearchItemsOperation::completed> : std::true_type {
};
template <>
struct IsFinalCase<ThumbGenerateOpr::success> : std::true_type {
};
template <>
struct IsFinalCase<UndoOperation::success> : std::true_type {
};

/// True if `status` is the last one of its request.
template <class... Cases>
[[nodiscard]] constexpr bool is_final(const std::variant<Cases...>& status)
{
    constexpr bool finals[] = {IsFinalCase<Cases>::value...};
    return finals[status.index()];
}

} // namespace orv
