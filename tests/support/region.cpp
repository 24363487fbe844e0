#include "tests/support/region.h"

#include <stdexcept>

namespace testsupport {

Region::Region() {
    if (!i_region.open("/resource0")) {
        throw std::runtime_error("shared memory /resource0: " + i_region.error());
    }
    i_words = i_region.mailbox();
}

}  // namespace testsupport
