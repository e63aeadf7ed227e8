#include "MixedFiles.hpp"

#include "Files.hpp"

#include <algorithm>
#include <cmath>
#include <random>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace orv::bench {
namespace {

/// Numbers below a limit, small ones far more often, like the words of a language: the n-th half as
/// often as the one of half its number.
class RareNumbers {
public:
    std::size_t below(std::size_t limit)
    {
        const double part = static_cast<double>(random_()) / (1.0 + std::mt19937::max());
        return static_cast<std::size_t>(std::pow(static_cast<double>(limit), part)) - 1;
    }

    std::uint32_t any() { return static_cast<std::uint32_t>(random_()); }

    /// Whether something happens that does so once in `times`.
    bool once_in(std::uint32_t times) { return any() % times == 0; }

private:
    std::mt19937 random_;
};

/// Appends to `text` what stood in it shortly before: whatever people and compilers write, they
/// repeat themselves.
void repeat_some(std::string& text, RareNumbers& numbers)
{
    constexpr std::size_t farthest = 20'000;
    const std::size_t size = 8 + numbers.any() % 64;
    const std::size_t back = size + numbers.below(farthest);
    if (back <= text.size())
        text += text.substr(text.size() - back, size);
}

/// Prose that packs as real one does, to a quarter.
class Prose {
public:
    Prose()
    {
        static constexpr std::string_view syllables[] = {"ta", "re", "lin", "mo",  "ver", "s",
                                                         "an", "ko", "du",  "est", "pi",  "gra",
                                                         "no", "be", "ur",  "chi"};
        for (std::size_t i = 0; i < words; ++i) {
            std::string word;
            for (std::size_t rest = i + 1; rest > 0; rest /= std::size(syllables))
                word += syllables[rest % std::size(syllables)];
            words_.push_back(std::move(word));
        }
    }

    void write(int file, std::size_t size)
    {
        text_.clear();
        while (text_.size() < size) {
            text_ += words_[numbers_.below(words)];
            text_ += numbers_.once_in(12) ? ".\n" : " ";
            if (numbers_.once_in(6))
                repeat_some(text_, numbers_);
        }
        write_all(file, text_);
    }

private:
    static constexpr std::size_t words = 8000;
    RareNumbers numbers_;
    std::vector<std::string> words_;
    std::string text_;
};

/// What resembles the code of programs, which packs to two fifths.
class Code {
public:
    void write(int file, std::size_t size)
    {
        code_.clear();
        while (code_.size() < size) {
            put(0x40 + numbers_.below(64), 1);
            put(numbers_.below(64), 1);
            if (numbers_.once_in(4))
                put(numbers_.once_in(4) ? numbers_.any() : numbers_.below(1 << 16), 4);
            if (numbers_.once_in(12))
                repeat_some(code_, numbers_);
        }
        write_all(file, code_);
    }

private:
    void put(std::size_t number, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            code_ += static_cast<char>(number >> 8 * i);
    }

    RareNumbers numbers_;
    std::string code_;
};

constexpr std::int64_t block = 1 << 20;

template <class Content>
void write_large_file(int folder, const std::string& name, std::int64_t bytes, Content& content)
{
    const FileDescriptor file = make_file(folder, name);
    for (std::int64_t done = 0; done < bytes; done += block)
        content.write(file.get(), static_cast<std::size_t>(block));
}

/// Files of about `size` each in folders of a hundred.
template <class Content>
void write_files(const std::string& path, const char* ending, std::int64_t bytes, std::size_t size,
                 Content& content)
{
    make_folder(path).reset();
    FileDescriptor folder;
    std::int64_t done = 0;
    for (int number = 0; done < bytes; ++number, done += static_cast<std::int64_t>(size)) {
        if (number % 100 == 0)
            folder = make_folder(fmt::format("{}/{}", path, number / 100));
        content.write(make_file(folder.get(), fmt::format("{:04}.{}", number, ending)).get(), size);
    }
}

/// What is compressed already.
struct Pictures {
    void write(int file, std::size_t /*size*/) { write_all(file, bytes.next()); }
    RandomBytes bytes;
};

} // namespace

void make_mixed_files(const std::string& path, std::int64_t bytes)
{
    constexpr std::size_t text_size = 30'000;
    constexpr std::size_t picture_size = 2'000'000;
    constexpr std::size_t program_size = 300'000;
    const FileDescriptor folder = make_folder(path);
    Prose prose;
    Code code;
    Pictures pictures{RandomBytes(picture_size)};
    write_files(path + "/texts", "txt", bytes / 4, text_size, prose);
    write_files(path + "/pictures", "jpg", bytes * 3 / 10, picture_size, pictures);
    write_files(path + "/programs", "bin", bytes / 5, program_size, code);
    write_large_file(folder.get(), "records.log", bytes * 3 / 20, prose);
    write_large_file(folder.get(), "disk.img", bytes / 10, code);
}

} // namespace orv::bench
