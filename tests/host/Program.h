// The built host tool as a process of its own.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

namespace host_test {

// Where standard error goes: to the output, or apart from it.
enum class Streams { together, apart };

// Runs the host tool.
class Program {
public:
    explicit Program(const std::vector<std::string>& arguments, Streams streams = Streams::together);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads until the output holds text; false if it ended without.
    bool readUntil(const std::string& text);

    void closeOutput();

    // Throws once the process was waited for: its number is none any more.
    void signal(int number) const;

    // Reads the rest and waits. Gives the exit code, or minus the number of the signal that ended it.
    int wait();

    // Standard output so far, and standard error where both go together.
    const std::string& output() const { return m_output; }

    // Standard error, once the process has ended; empty where both go together.
    const std::string& errors() const { return m_errors; }

private:
    bool readMore();
    void readErrors();

    pid_t m_process = -1;
    int m_pipe = -1;
    std::FILE* m_errorFile = nullptr;
    std::string m_output;
    std::string m_errors;
};

// Runs the host tool in a terminal of that size and gives what it printed there; its exit code goes into
// code. A terminal that is still for a minute is a failure of the test.
std::string inTerminal(unsigned short columns, unsigned short rows, const std::vector<std::string>& arguments,
                       int& code);

// A file in the temporary folder that goes with the object.
class TempFile {
public:
    explicit TempFile(const std::string& content);
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

// The text of a file of the project.
std::string projectFile(const std::string& path);

// The text with the first occurrence of what replaced; throws if there is none, so that no test goes stale.
std::string replaced(std::string text, const std::string& what, const std::string& with);

}  // namespace host_test
