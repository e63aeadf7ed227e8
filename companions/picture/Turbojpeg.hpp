#pragma once

#include "utility/LoadedLater.hpp"

#include <turbojpeg.h>

namespace orv::picture {

/// The file name of libturbojpeg that this library was built for.
extern const char turbojpeg_file[];

// Loaded with the first call. Callers in this namespace find these before the functions themselves.
// NOLINTBEGIN(readability-identifier-naming): the names of those functions
inline constinit const LoadedLater<decltype(::tjCompress2)> tjCompress2{turbojpeg_file,
                                                                        "tjCompress2"};
inline constinit const LoadedLater<decltype(::tjDecompress2)> tjDecompress2{turbojpeg_file,
                                                                            "tjDecompress2"};
inline constinit const LoadedLater<decltype(::tjDecompressHeader3)> tjDecompressHeader3{
    turbojpeg_file, "tjDecompressHeader3"};
inline constinit const LoadedLater<decltype(::tjDestroy)> tjDestroy{turbojpeg_file, "tjDestroy"};
inline constinit const LoadedLater<decltype(::tjFree)> tjFree{turbojpeg_file, "tjFree"};
inline constinit const LoadedLater<decltype(::tjGetErrorStr2)> tjGetErrorStr2{turbojpeg_file,
                                                                              "tjGetErrorStr2"};
inline constinit const LoadedLater<decltype(::tjInitCompress)> tjInitCompress{turbojpeg_file,
                                                                              "tjInitCompress"};
inline constinit const LoadedLater<decltype(::tjInitDecompress)> tjInitDecompress{
    turbojpeg_file, "tjInitDecompress"};
// NOLINTEND(readability-identifier-naming)

} // namespace orv::picture
