#pragma once

#include "utility/LoadedLater.hpp"

#include <libdeflate.h>

namespace orv::archive {

/// The file name of libdeflate that this library was built for.
extern const char libdeflate_file[];

// Loaded with the first call. Callers in this namespace find these before the functions themselves.
inline constinit const LoadedLater<decltype(::libdeflate_alloc_compressor)>
    libdeflate_alloc_compressor{libdeflate_file, "libdeflate_alloc_compressor"};
inline constinit const LoadedLater<decltype(::libdeflate_alloc_decompressor)>
    libdeflate_alloc_decompressor{libdeflate_file, "libdeflate_alloc_decompressor"};
inline constinit const LoadedLater<decltype(::libdeflate_crc32)> libdeflate_crc32{
    libdeflate_file, "libdeflate_crc32"};
inline constinit const LoadedLater<decltype(::libdeflate_deflate_compress)>
    libdeflate_deflate_compress{libdeflate_file, "libdeflate_deflate_compress"};
inline constinit const LoadedLater<decltype(::libdeflate_deflate_decompress)>
    libdeflate_deflate_decompress{libdeflate_file, "libdeflate_deflate_decompress"};
inline constinit const LoadedLater<decltype(::libdeflate_free_compressor)>
    libdeflate_free_compressor{libdeflate_file, "libdeflate_free_compressor"};
inline constinit const LoadedLater<decltype(::libdeflate_free_decompressor)>
    libdeflate_free_decompressor{libdeflate_file, "libdeflate_free_decompressor"};

} // namespace orv::archive
