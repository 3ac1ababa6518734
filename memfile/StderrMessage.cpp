#include "memfile/StderrMessage.h"

#include <iostream>

namespace memfile {

void writeStderr(const std::string& message) {
    std::cerr.write(message.data(), static_cast<std::streamsize>(message.size()));
}

}  // namespace memfile
