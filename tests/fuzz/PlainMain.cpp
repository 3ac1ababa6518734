// Runs a target without libFuzzer, with any compiler: its corpus, its seeds, and mutations of both drawn from
// a number.
//
// usage: <target> [--seed NUMBER] [--runs COUNT] [FILE or FOLDER...]
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using fuzz::Bytes;

struct Options {
    std::uint32_t seed = std::random_device{}();
    unsigned long runs = 2000;
    std::vector<std::filesystem::path> files;
};

/// The longest input that is made.
constexpr std::size_t kMostBytes = 4096;

class Mutator {
public:
    Mutator(std::uint32_t seed, const std::vector<Bytes>& corpus, const std::vector<Bytes>& words)
        : m_random(seed), m_corpus(corpus), m_words(words) {}

    Bytes next() {
        Bytes input = m_corpus[below(m_corpus.size())];
        for (std::size_t change = below(8) + 1; change > 0; --change) {
            mutate(input);
        }
        input.resize(std::min(input.size(), kMostBytes));
        return input;
    }

private:
    std::size_t below(std::size_t end) { return end == 0 ? 0 : m_random() % end; }

    std::uint8_t byte() { return static_cast<std::uint8_t>(m_random()); }

    void mutate(Bytes& input) {
        const std::size_t at = below(input.size() + 1);
        const auto place = input.begin() + static_cast<std::ptrdiff_t>(at);
        const std::size_t most = input.size() - at;
        switch (below(7)) {
            case 0:
                if (most > 0) {
                    *place ^= static_cast<std::uint8_t>(1U << below(8));
                }
                break;
            case 1:
                if (most > 0) {
                    *place = byte();
                }
                break;
            case 2:
                input.erase(place, place + static_cast<std::ptrdiff_t>(std::min(most, 1 + below(8))));
                break;
            case 3:
                input.insert(place, 1 + below(8), byte());
                break;
            case 4:
                insert(input, at, m_words.empty() ? Bytes{byte()} : m_words[below(m_words.size())]);
                break;
            case 5:
                insert(input, at, part(input));
                break;
            default:
                insert(input, at, part(m_corpus[below(m_corpus.size())]));
                break;
        }
    }

    Bytes part(const Bytes& of) {
        const std::size_t from = below(of.size() + 1);
        const std::size_t count = below(std::min<std::size_t>(of.size() - from, 64) + 1);
        const auto begin = of.begin() + static_cast<std::ptrdiff_t>(from);
        return {begin, begin + static_cast<std::ptrdiff_t>(count)};
    }

    static void insert(Bytes& input, std::size_t at, const Bytes& bytes) {
        input.insert(input.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin(), bytes.end());
    }

    std::mt19937 m_random;
    const std::vector<Bytes>& m_corpus;
    const std::vector<Bytes>& m_words;
};

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--seed" && i + 1 < argc) {
            options.seed = static_cast<std::uint32_t>(std::strtoul(argv[++i], nullptr, 10));
        } else if (argument == "--runs" && i + 1 < argc) {
            options.runs = std::strtoul(argv[++i], nullptr, 10);
        } else {
            options.files.emplace_back(argument);
        }
    }
    return options;
}

void readInto(std::vector<Bytes>& corpus, const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
        std::exit(EXIT_FAILURE);
    }
    corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<Bytes> readCorpus(const std::vector<std::filesystem::path>& files) {
    std::vector<Bytes> corpus = fuzz::seeds();
    for (const std::filesystem::path& path : files) {
        if (!std::filesystem::is_directory(path)) {
            readInto(corpus, path);
            continue;
        }
        std::vector<std::filesystem::path> inside;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            inside.push_back(entry.path());
        }
        std::ranges::sort(inside);  // so that a seed makes the same inputs on every machine
        for (const std::filesystem::path& one : inside) {
            readInto(corpus, one);
        }
    }
    return corpus;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    // Ahead of everything: a run that crashes is repeated with this number.
    std::printf("seed %lu\n", static_cast<unsigned long>(options.seed));
    std::fflush(stdout);
    std::vector<Bytes> corpus = readCorpus(options.files);
    fuzz::runBytes({});
    for (const Bytes& input : corpus) {
        fuzz::runBytes(input);
    }
    const std::size_t known = corpus.size();
    corpus.push_back({});
    const std::vector<Bytes> words = fuzz::words();
    Mutator mutator(options.seed, corpus, words);
    for (unsigned long i = 0; i < options.runs; ++i) {
        fuzz::runBytes(mutator.next());
    }
    std::printf("%zu inputs of the corpus, %lu mutations\n", known, options.runs);
    return EXIT_SUCCESS;
}
