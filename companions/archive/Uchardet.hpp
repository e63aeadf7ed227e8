#pragma once

#include "utility/LoadedLater.hpp"

#include <uchardet.h>

namespace orv::archive {

/// The file name of uchardet that this library was built for.
extern const char uchardet_file[];

// Loaded with the first call. Callers in this namespace find these before the functions themselves.
inline constinit const LoadedLater<decltype(::uchardet_data_end)> uchardet_data_end{
    uchardet_file, "uchardet_data_end"};
inline constinit const LoadedLater<decltype(::uchardet_delete)> uchardet_delete{uchardet_file,
                                                                                "uchardet_delete"};
inline constinit const LoadedLater<decltype(::uchardet_get_charset)> uchardet_get_charset{
    uchardet_file, "uchardet_get_charset"};
inline constinit const LoadedLater<decltype(::uchardet_handle_data)> uchardet_handle_data{
    uchardet_file, "uchardet_handle_data"};
inline constinit const LoadedLater<decltype(::uchardet_new)> uchardet_new{uchardet_file,
                                                                          "uchardet_new"};

} // namespace orv::archive
