#include "archive/Libcrypto.hpp"

namespace orv::archive {

const char libcrypto_file[] = ORV_LIBCRYPTO;

} // namespace orv::archive
