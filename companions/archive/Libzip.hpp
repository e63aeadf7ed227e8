#pragma once

#include "utility/LoadedLater.hpp"

#include <zip.h>

namespace orv::archive {

/// The file name of the libzip this library was built for.
extern const char libzip_file[];

// libzip loads with the first archive: it brings OpenSSL, and their start takes as long as all the
// rest. Callers in this namespace find these before the functions themselves.
template <class Function>
class OfLibzip : public LoadedLater<Function> {
public:
    constexpr explicit OfLibzip(const char* name) noexcept
        : LoadedLater<Function>(libzip_file, name)
    {
    }
};

inline constinit const OfLibzip<decltype(::zip_close)> zip_close{"zip_close"};
inline constinit const OfLibzip<decltype(::zip_compression_method_supported)>
    zip_compression_method_supported{"zip_compression_method_supported"};
inline constinit const OfLibzip<decltype(::zip_discard)> zip_discard{"zip_discard"};
inline constinit const OfLibzip<decltype(::zip_error_code_system)> zip_error_code_system{
    "zip_error_code_system"};
inline constinit const OfLibzip<decltype(::zip_error_code_zip)> zip_error_code_zip{
    "zip_error_code_zip"};
inline constinit const OfLibzip<decltype(::zip_error_init)> zip_error_init{"zip_error_init"};
inline constinit const OfLibzip<decltype(::zip_error_set)> zip_error_set{"zip_error_set"};
inline constinit const OfLibzip<decltype(::zip_error_strerror)> zip_error_strerror{
    "zip_error_strerror"};
inline constinit const OfLibzip<decltype(::zip_error_system_type)> zip_error_system_type{
    "zip_error_system_type"};
inline constinit const OfLibzip<decltype(::zip_error_to_data)> zip_error_to_data{
    "zip_error_to_data"};
inline constinit const OfLibzip<decltype(::zip_fclose)> zip_fclose{"zip_fclose"};
inline constinit const OfLibzip<decltype(::zip_file_add)> zip_file_add{"zip_file_add"};
inline constinit const OfLibzip<decltype(::zip_file_extra_field_set)> zip_file_extra_field_set{
    "zip_file_extra_field_set"};
inline constinit const OfLibzip<decltype(::zip_file_get_error)> zip_file_get_error{
    "zip_file_get_error"};
inline constinit const OfLibzip<decltype(::zip_file_set_encryption)> zip_file_set_encryption{
    "zip_file_set_encryption"};
inline constinit const OfLibzip<decltype(::zip_file_set_external_attributes)>
    zip_file_set_external_attributes{"zip_file_set_external_attributes"};
inline constinit const OfLibzip<decltype(::zip_fopen_index)> zip_fopen_index{"zip_fopen_index"};
inline constinit const OfLibzip<decltype(::zip_fread)> zip_fread{"zip_fread"};
inline constinit const OfLibzip<decltype(::zip_get_error)> zip_get_error{"zip_get_error"};
inline constinit const OfLibzip<decltype(::zip_get_num_entries)> zip_get_num_entries{
    "zip_get_num_entries"};
inline constinit const OfLibzip<decltype(::zip_open_from_source)> zip_open_from_source{
    "zip_open_from_source"};
inline constinit const OfLibzip<decltype(::zip_set_default_password)> zip_set_default_password{
    "zip_set_default_password"};
inline constinit const OfLibzip<decltype(::zip_set_file_compression)> zip_set_file_compression{
    "zip_set_file_compression"};
inline constinit const OfLibzip<decltype(::zip_source_free)> zip_source_free{"zip_source_free"};
inline constinit const OfLibzip<decltype(::zip_source_function)> zip_source_function{
    "zip_source_function"};
inline constinit const OfLibzip<decltype(::zip_source_function_create)> zip_source_function_create{
    "zip_source_function_create"};
inline constinit const OfLibzip<decltype(::zip_source_seek_compute_offset)>
    zip_source_seek_compute_offset{"zip_source_seek_compute_offset"};
inline constinit const OfLibzip<decltype(::zip_stat_index)> zip_stat_index{"zip_stat_index"};
inline constinit const OfLibzip<decltype(::zip_stat_init)> zip_stat_init{"zip_stat_init"};

} // namespace orv::archive
