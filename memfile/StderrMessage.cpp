#include "memfile/StderrMessage.h"

#include "platform/Utf8.h"

#include <iostream>

namespace memfile {

void writeStderr(const std::string& message) {
    if (!platform::writeToErrorConsole(message)) {
        std::cerr.write(message.data(), static_cast<std::streamsize>(message.size()));
    }
}

}  // namespace memfile
