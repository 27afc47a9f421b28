// SPDX-License-Identifier: Apache-2.0

/**
 * Setting an item of any document and deleting it again. The input is section,
 * key and value, each ended by a NUL, and then the document.
 */
#include "fuzz_target.hpp"
#include "json_model.hpp"
#include "support/files.hpp"

#include <libostrel.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

using fuzz::require;

const int fuzz::sabotages = 20;

namespace
{

struct Input
{
    explicit Input(const std::string& bytes)
    {
        std::istringstream fields(bytes);
        std::getline(fields, section, '\0');
        std::getline(fields, key, '\0');
        std::getline(fields, value, '\0');
        document.assign(std::istreambuf_iterator<char>(fields), {});
    }

    std::string section;
    std::string key;
    std::string value;
    std::string document;
};

/** The document, its lock, and what the store may leave beside them. */
struct Place
{
    support::ScratchDirectory scratch;
    const std::filesystem::path document = scratch.path / "document.json";
    const std::filesystem::path temporary = scratch.path / "document.json.tmp";
    const std::filesystem::path lock = scratch.path / "document.lock";

    [[nodiscard]] json_config_t* load() const
    {
        errno = 0;
        auto* const config =
            json_config_load(document.c_str(), lock.c_str(), 0);
        if (fuzz::sabotage == 5 && errno == EBADMSG)
        {
            errno = EIO;
        }
        return config;
    }

    [[nodiscard]] bool lockIsFree() const
    {
        const int file = ::open(lock.c_str(), O_RDONLY | O_CLOEXEC);
        const bool isFree = ::flock(file, LOCK_EX | LOCK_NB) == 0;
        ::close(file);
        return isFree;
    }

    void requireTidy() const
    {
        const bool isFree = fuzz::sabotage != 1 && lockIsFree();
        require(isFree, "the lock is free");
        const bool isLeft = fuzz::sabotage == 8 || exists(temporary);
        require(!isLeft, "no temporary is left");
    }
};

/** Whether the set may fail with this errno. */
bool mayRefuse(int error, const Input& input, const fuzz::Document& document)
{
    const bool isText = fuzz::isUtf8(input.section) &&
                        fuzz::isUtf8(input.key) && fuzz::isUtf8(input.value);
    const bool isBlocked = document.isBlocked(input.section);
    return (error == EILSEQ && !isText) || (error == EBADMSG && isBlocked) ||
           (error == 0 && isText && !isBlocked);
}

/** The string of the item, or "(none)". */
std::string textOf(json_config_t* config, const Input& input)
{
    std::string buffer(input.value.size() + 8, '\0');
    if (json_config_get_string(config, input.section.c_str(), input.key.c_str(),
                               buffer.data(), buffer.size()) != 0)
    {
        return "(none)";
    }
    if (fuzz::sabotage == 2)
    {
        buffer[0] = '!';
    }
    buffer.resize(std::strlen(buffer.c_str()));
    return buffer;
}

/** Small errors in the text that the store writes. */
struct WritingError
{
    int sabotage;
    std::string_view right;
    std::string_view wrong;
};
constexpr WritingError writingErrors[] = {
    {3, "    \"BMC\": {", "    \"BMX\": {"},
    {4, "\"a\": \"\",\n        \"b\": \"\"",
     "\"b\": \"\",\n        \"a\": \"\""},
    {9, "2.50", "2.5"},
    {10, "[]", "[ ]"},
    {11, "{}", "{\n    }"},
    {12, "\": ", "\":"},
    {13, "            ", "          "},
    {14, "\n}\n", "\n}"},
    {15, "\"\"", "null"},
    {16, "1e400", "1e+400"},
    {17, "-0,", "0,"},
    {18, "\\u0041", "A"},
    {19, "\\/", "/"},
    {20, "\\u0062", "b"},
};

void requireText(const Place& place, const fuzz::Document& document)
{
    std::string text = support::readFile(place.document);
    for (const auto& [sabotage, right, wrong] : writingErrors)
    {
        const auto at = text.find(right);
        if (fuzz::sabotage == sabotage && at != std::string::npos)
        {
            text.replace(at, right.size(), wrong);
        }
    }
    require(text == document.written(),
            "all else keeps its spelling and its place, indented by four");
}

void checkRefused(const Place& place, const Input& input,
                  const struct stat& before)
{
    require(errno == EBADMSG, "a document is refused with EBADMSG");
    if (fuzz::sabotage == 7)
    {
        support::writeFile(place.document, "{}");
    }
    require(support::untouched(before, support::statusOf(place.document)) &&
                support::readFile(place.document) == input.document,
            "a refused document is left as it is");
    place.requireTidy();
}

/** @return whether the item is there now */
bool checkSet(const Place& place, json_config_t* config, const Input& input,
              fuzz::Document& document)
{
    const bool same = document.text(input.section, input.key) == input.value;
    errno = 0;
    const int result = json_config_set_string(
        config, input.section.c_str(), input.key.c_str(), input.value.c_str());
    const int error = result == 0 ? 0 : errno;
    const std::string found = textOf(config, input);
    require(json_config_release(config) == 0, "a change is put in place");
    place.requireTidy();
    require(same ? error == 0 : mayRefuse(error, input, document),
            "only bad text and what is no section is refused");
    if (error != 0 || same)
    {
        require(support::readFile(place.document) == input.document,
                "where nothing changes nothing is written");
        return error == 0;
    }
    require(found == input.value, "what was set is found");
    document.set(input.section, input.key, input.value);
    requireText(place, document);
    return true;
}

void checkDelete(const Place& place, const Input& input,
                 fuzz::Document& document)
{
    json_config_t* const config = place.load();
    require(config != nullptr, "what was written can be loaded again");
    const std::string kept = textOf(config, input);
    const int result = json_config_delete_item(config, input.section.c_str(),
                                               input.key.c_str());
    const std::string found =
        fuzz::sabotage == 6 ? kept : textOf(config, input);
    require(json_config_release(config) == 0, "a deletion is put in place");
    place.requireTidy();
    require(kept == input.value, "what was set is kept");
    require(result == 0 && found == "(none)", "what was deleted is gone");
    document.remove(input.section, input.key);
    requireText(place, document);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Place place;
    const Input input(std::string(data, data + size));
    auto document = input.document.empty()
                        ? std::optional(fuzz::Document())
                        : fuzz::Document::read(input.document);

    support::writeFile(place.document, input.document);
    const auto before = support::statusOf(place.document);
    json_config_t* const config = place.load();
    if (config == nullptr)
    {
        require(!document.has_value(), "a document is read");
        checkRefused(place, input, before);
        return 0;
    }
    require(document.has_value(), "what is no document is refused");
    if (checkSet(place, config, input, *document))
    {
        checkDelete(place, input, *document);
    }
    return 0;
}
