/// @file
/// The owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace host {

/// Closes its descriptor when it goes. One thread at a time.
class FileHandle {
public:
    FileHandle() = default;
    explicit FileHandle(int descriptor) : m_descriptor(descriptor) {}
    FileHandle(FileHandle&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    ~FileHandle() {
        if (valid()) {
            ::close(m_descriptor);
        }
    }

    [[nodiscard]] bool valid() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }

private:
    int m_descriptor = -1;
};

}  // namespace host
