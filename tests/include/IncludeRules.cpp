#include "tests/include/IncludeRules.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <set>

namespace {

/// What one folder may include beside itself.
struct FolderRule {
    std::string folder;
    std::set<std::string> allowed;  ///< folders of the project
    bool standardOnly;              ///< of everything else, only the standard library
};

const std::vector<FolderRule> kFolderRules = {
    {"include", {}, true},
    {"platform", {}, false},
    {"memfile", {"platform", "include"}, true},
    {"decode", {"include"}, true},
    {"daq", {"include"}, true},
    {"transport", {"memfile", "decode", "daq", "platform", "include"}, true},
    {"xcp", {"transport", "memfile", "decode", "daq", "include"}, true},
    {"ccp", {"transport", "memfile", "decode", "daq", "include"}, true},
    {"engine", {"xcp", "ccp", "transport", "memfile", "decode", "daq", "platform", "include"}, true},
    {"channel", {"xcp", "ccp", "transport", "memfile", "decode", "daq", "platform", "include"}, true},
    {"sim", {}, false},
    {"host", {"include", "sim"}, false},
};

/// One include that is allowed although the floors forbid it. "*" as file stands for all of the folder.
struct SidewaysInclude {
    std::string folder;
    std::string file;
    std::string included;
};

const std::vector<SidewaysInclude> kSideways = {
    {"xcp", "*", "engine/ITask_Transmit.h"},
    {"ccp", "*", "engine/ITask_Transmit.h"},
    {"daq", "daq/DaqInfo.cpp", "xcp/XcpDaq.h"},
    {"daq", "daq/DaqInfo.cpp", "ccp/CcpDaq.h"},
    // A new slave copies the engine's callback table.
    {"channel", "*", "engine/ProtoThread.h"},
};

/// The task interface is included from below, so it may itself include only what lies below its users.
const std::string kTaskInterface = "engine/ITask_Transmit.h";
const std::set<std::string> kBelowTaskInterface = {"transport", "memfile",  "decode",
                                                   "daq",       "platform", "include"};

/// A pair of names that only one file may hold together.
struct NamedTogether {
    std::string first;
    std::string second;
    std::string file;
};

const std::vector<NamedTogether> kNamedTogether = {
    {"XcpTaskTransmit", "CcpTaskTransmit", "engine/TaskFactory.cpp"},  // what createTask calls
    {"XcpDaq", "CcpDaq", "daq/DaqInfo.cpp"},
};

const std::set<std::string> kStandardHeaders = {
    "algorithm",
    "any",
    "array",
    "atomic",
    "barrier",
    "bit",
    "bitset",
    "cassert",
    "cctype",
    "cerrno",
    "cfloat",
    "charconv",
    "chrono",
    "cinttypes",
    "climits",
    "clocale",
    "cmath",
    "compare",
    "complex",
    "concepts",
    "cstddef",
    "condition_variable",
    "cstdarg",
    "cstdint",
    "cstdio",
    "cstdlib",
    "cstring",
    "ctime",
    "cwchar",
    "deque",
    "exception",
    "filesystem",
    "forward_list",
    "fstream",
    "functional",
    "future",
    "initializer_list",
    "iomanip",
    "ios",
    "iosfwd",
    "iostream",
    "istream",
    "iterator",
    "latch",
    "limits",
    "list",
    "locale",
    "map",
    "memory",
    "memory_resource",
    "mutex",
    "new",
    "numbers",
    "numeric",
    "optional",
    "ostream",
    "queue",
    "random",
    "ranges",
    "ratio",
    "regex",
    "scoped_allocator",
    "semaphore",
    "set",
    "shared_mutex",
    "source_location",
    "span",
    "sstream",
    "stack",
    "stdexcept",
    "stop_token",
    "streambuf",
    "string",
    "string_view",
    "syncstream",
    "system_error",
    "thread",
    "tuple",
    "type_traits",
    "typeindex",
    "typeinfo",
    "unordered_map",
    "unordered_set",
    "utility",
    "valarray",
    "variant",
    "vector",
    "version",
    // The headers of C that the C form of the public headers needs.
    "stdbool.h",
    "stddef.h",
    "stdint.h",
};

/// One include line.
struct Include {
    std::size_t line = 0;
    std::string spelled;  ///< as written, with its quotes or brackets
    std::string name;     ///< without them
    bool quoted = false;
};

std::string folderOf(const std::string& path) {
    return path.substr(0, path.find('/'));
}

const FolderRule* ruleOf(const std::string& path) {
    const auto rule = std::find_if(kFolderRules.begin(), kFolderRules.end(),
                                   [&](const FolderRule& row) { return row.folder == folderOf(path); });
    return rule == kFolderRules.end() ? nullptr : &*rule;
}

std::vector<Include> includesOf(const std::string& text) {
    static const std::regex kForm(R"(^\s*#\s*include\s*(["<])([^">]*)[">])");
    std::vector<Include> found;
    std::size_t line = 1;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string current = text.substr(start, end - start);
        std::smatch match;
        if (current.find('#') != std::string::npos && std::regex_search(current, match, kForm)) {
            const bool quoted = match[1] == "\"";
            const std::string name = match[2];
            found.push_back({line, quoted ? '"' + name + '"' : '<' + name + '>', name, quoted});
        }
        start = end + 1;
        ++line;
    }
    return found;
}

/// Where an include leads inside the project: includes are rooted at the project or at include/.
std::optional<std::string> resolve(const SourceTree& tree, const Include& include) {
    if (tree.count(include.name) != 0) {
        return include.name;
    }
    const std::string inPublic = "include/" + include.name;
    if (tree.count(inPublic) != 0) {
        return inPublic;
    }
    return std::nullopt;
}

bool isSideways(const std::string& path, const std::string& included) {
    return std::any_of(kSideways.begin(), kSideways.end(), [&](const SidewaysInclude& row) {
        return row.folder == folderOf(path) && (row.file == "*" || row.file == path) &&
               row.included == included;
    });
}

bool mayInclude(const std::string& path, const std::string& included) {
    if (path == kTaskInterface) {
        return kBelowTaskInterface.count(folderOf(included)) != 0;
    }
    const FolderRule& rule = *ruleOf(path);
    return folderOf(included) == rule.folder || rule.allowed.count(folderOf(included)) != 0 ||
           isSideways(path, included);
}

/// @return what is wrong with one include, or nothing
std::string judge(const SourceTree& tree, const std::string& path, const Include& include) {
    const std::optional<std::string> target = resolve(tree, include);
    if (target) {
        return mayInclude(path, *target) ? "" : "may not include " + *target;
    }
    if (include.quoted) {
        return "includes " + include.spelled + ", which is not there";
    }
    if (ruleOf(path)->standardOnly && kStandardHeaders.count(include.name) == 0) {
        return "may not include " + include.spelled + ", which is not of the standard library";
    }
    return "";
}

using Edges = std::map<std::string, std::vector<std::string>>;

/// Follows the includes from @p path; @return the first circle found as "a -> b -> a", or nothing.
std::string circleFrom(const Edges& edges, const std::string& path, std::vector<std::string>& road,
                       std::set<std::string>& done) {
    const auto seen = std::find(road.begin(), road.end(), path);
    if (seen != road.end()) {
        std::string circle;
        for (auto step = seen; step != road.end(); ++step) {
            circle += *step + " -> ";
        }
        return circle + path;
    }
    if (!done.insert(path).second) {
        return "";
    }
    road.push_back(path);
    for (const std::string& next : edges.at(path)) {
        const std::string circle = circleFrom(edges, next, road, done);
        if (!circle.empty()) {
            return circle;
        }
    }
    road.pop_back();
    return "";
}

std::string firstCircle(const Edges& edges) {
    std::set<std::string> done;
    for (const auto& [path, targets] : edges) {
        std::vector<std::string> road;
        const std::string circle = circleFrom(edges, path, road, done);
        if (!circle.empty()) {
            return circle;
        }
    }
    return "";
}

bool holdsName(const std::string& text, const std::string& name) {
    return text.find(name) != std::string::npos && std::regex_search(text, std::regex("\\b" + name + "\\b"));
}

/// The files that hold both names of @p row, but for the one that may.
std::vector<std::string> namedTogetherBreaches(const SourceTree& bare, const NamedTogether& row) {
    std::vector<std::string> found;
    for (const auto& [path, text] : bare) {
        if (path != row.file && holdsName(text, row.first) && holdsName(text, row.second)) {
            found.push_back(path + ": names " + row.first + " and " + row.second + "; only " + row.file +
                            " may");
        }
    }
    return found;
}

/// Finds the ends of comments and literals in C++ text.
class CommentStripper {
public:
    explicit CommentStripper(const std::string& text) : m_text(text) {}

    std::string run() {
        while (m_at < m_text.size()) {
            step();
        }
        return m_out;
    }

private:
    bool startsWith(const char* token) const { return m_text.compare(m_at, 2, token) == 0; }

    void step() {
        if (startsWith("//")) {
            m_at = std::min(m_text.find('\n', m_at), m_text.size());
        } else if (startsWith("/*")) {
            skipBlock();
        } else if (m_text[m_at] == '"' || (m_text[m_at] == '\'' && !followsDigit())) {
            copyLiteral(m_text[m_at]);
        } else {
            m_out += m_text[m_at++];
        }
    }

    /// A quote behind a letter or digit separates digits.
    bool followsDigit() const {
        return m_at > 0 && std::isalnum(static_cast<unsigned char>(m_text[m_at - 1])) != 0;
    }

    void skipBlock() {
        const std::size_t close = m_text.find("*/", m_at + 2);
        const std::size_t end = close == std::string::npos ? m_text.size() : close + 2;
        m_out.append(
            static_cast<std::size_t>(std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_at),
                                                m_text.begin() + static_cast<std::ptrdiff_t>(end), '\n')),
            '\n');
        m_out += ' ';
        m_at = end;
    }

    void copyLiteral(char quote) {
        m_out += m_text[m_at++];
        while (m_at < m_text.size() && m_text[m_at] != quote && m_text[m_at] != '\n') {
            if (m_text[m_at] == '\\' && m_at + 1 < m_text.size()) {
                m_out += m_text[m_at++];
            }
            m_out += m_text[m_at++];
        }
        if (m_at < m_text.size()) {
            m_out += m_text[m_at++];
        }
    }

    const std::string& m_text;
    std::size_t m_at = 0;
    std::string m_out;
};

bool isSource(const std::filesystem::path& path) {
    static const std::set<std::string> kEndings = {".c", ".h", ".cpp", ".hpp"};
    return kEndings.count(path.extension().string()) != 0;
}

}  // namespace

SourceTree readSourceTree(const std::string& root) {
    SourceTree tree;
    for (const FolderRule& rule : kFolderRules) {
        const std::filesystem::path folder = std::filesystem::path(root) / rule.folder;
        if (!std::filesystem::exists(folder)) {
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && isSource(entry.path())) {
                std::ifstream file(entry.path(), std::ios::binary);
                const std::string path = std::filesystem::relative(entry.path(), root).generic_string();
                tree[path].assign(std::istreambuf_iterator<char>(file), {});
            }
        }
    }
    return tree;
}

std::string withoutComments(const std::string& text) {
    return CommentStripper(text).run();
}

std::vector<std::string> breaches(const SourceTree& tree) {
    SourceTree bare;
    std::vector<std::string> found;
    Edges edges;
    for (const auto& [path, text] : tree) {
        bare[path] = withoutComments(text);
        std::vector<std::string>& targets = edges[path];
        for (const Include& include : includesOf(bare[path])) {
            const std::string wrong = judge(tree, path, include);
            if (!wrong.empty()) {
                found.push_back(path + ":" + std::to_string(include.line) + ": " + wrong);
            }
            if (const auto target = resolve(tree, include)) {
                targets.push_back(*target);
            }
        }
    }
    for (const NamedTogether& row : kNamedTogether) {
        const std::vector<std::string> more = namedTogetherBreaches(bare, row);
        found.insert(found.end(), more.begin(), more.end());
    }
    const std::string circle = firstCircle(edges);
    if (!circle.empty()) {
        found.push_back("circle: " + circle);
    }
    return found;
}
