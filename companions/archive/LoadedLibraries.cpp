#include "archive/Libcrypto.hpp"
#include "archive/Libdeflate.hpp"
#include "archive/Libzip.hpp"
#include "archive/Uchardet.hpp"

namespace orv::archive {

const char libcrypto_file[] = ORV_LIBCRYPTO;
const char libdeflate_file[] = ORV_LIBDEFLATE;
const char libzip_file[] = ORV_LIBZIP;
const char uchardet_file[] = ORV_UCHARDET;

} // namespace orv::archive
