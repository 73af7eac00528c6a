/**
 * @file velkc/file.hpp
 * @brief velkc::file: reading and editing configuration files, one setting at a time, and transactions.
 */
#ifndef VELKC_FILE_HPP
#define VELKC_FILE_HPP

#include <velkc/containers.hpp>
#include <velkc/file.h>
#include <velkc/result.hpp>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace velkc {

/**
 * @brief Reading and editing configuration files of "key=value" lines and
 *        "[section]" headers, over the VELKCFile* functions.
 *
 * Every change is all or nothing and writers of one file take turns, as in
 * C. Paths, keys and names are copied into NUL-terminated buffers; a format
 * is a printf format taking the key and then the value, and an empty format
 * stands for the default "%s=%s\n". Keys and values that would change the
 * file's structure (a line break, an "=" in a key, ...) are refused with
 * errc::bad_parameters. A file that cannot be opened gives
 * errc::open_failed.
 */
namespace file {

/** @brief Which key line wins when a key appears on several lines. */
enum class Occurrence {
    first, ///< the first line of the key
    last,  ///< the last line of the key
};

namespace detail {

using velkc::detail::checked;
using velkc::detail::clear_record;
using velkc::detail::CString;
using velkc::detail::first_error;
using velkc::detail::recorded_failure;

// A new container filled by a C reader: fill(address) < 0 is a failure.
template <class Container, class Fill>
Result<Container> read_into(Fill fill) noexcept
{
    Result<Container> made = Container::create();
    if (!made) {
        return made.error();
    }
    clear_record();
    if (fill(made->address()) < 0) {
        return recorded_failure();
    }
    return made;
}

// The table itself, or a new empty one in empty when it has no block: the
// C writers want a table even when it holds nothing.
inline Result<SzHash *> table_of(const Hash &pairs, Hash &empty) noexcept
{
    if (pairs.get() != nullptr) {
        return pairs.get();
    }
    Result<Hash> made = Hash::create();
    if (!made) {
        return made.error();
    }
    empty = std::move(*made);
    return empty.get();
}

// Replaces (SECTION_FLAG_REPLACE) or deletes every section of a name.
inline std::error_code modify_section(std::string_view path, std::string_view section, std::string_view new_name,
                                      const SzHash *pairs, int flags, std::string_view format) noexcept
{
    const CString p(path), s(section), n(new_name), f(format);
    if (std::error_code error = first_error(p, s, n, f)) {
        return error;
    }
    clear_record();
    const int found = VELKCIFileModifySection(p.c_str(), s.c_str(), n.c_str_or_null(), pairs, flags, f.c_str_or_null());
    return found > 0 ? std::error_code() : recorded_failure();
}

} // namespace detail

/**
 * @brief The value of a key: the text after the first "=" of its line,
 *        trimmed, without one pair of surrounding quotes.
 * @param path the file to read.
 * @param key the key, compared exactly.
 * @param which the line that wins when the key appears more than once.
 * @return the value; errc::key_not_found when no line of the key has a
 *         value. Allocates the std::string (may throw std::bad_alloc).
 */
inline Result<std::string> get_value(std::string_view path, std::string_view key, Occurrence which = Occurrence::first)
{
    const detail::CString p(path), k(key);
    if (std::error_code error = detail::first_error(p, k)) {
        return error;
    }
    const int flags = which == Occurrence::last ? MATCH_FLAG_LAST : 0;
    char small[256];
    detail::clear_record();
    int size = VELKCFileGetKeyValue(p.c_str(), k.c_str(), small, sizeof(small), flags);
    if (size > 0) {
        return std::string(small, static_cast<std::size_t>(size) - 1);
    }
    // Too long for small: ask for the size, then read into a buffer of it.
    // The value may grow in between (another writer); try again then.
    for (int attempt = 0; attempt < 3 && size < 0 && VELKCErrGet() == ERR_NOT_ENOUGH_MEMORY; ++attempt) {
        detail::clear_record();
        const int needed = VELKCFileGetKeyValue(p.c_str(), k.c_str(), nullptr, 0, flags);
        if (needed <= 0) {
            break;
        }
        std::string value(static_cast<std::size_t>(needed), '\0');
        detail::clear_record();
        size = VELKCFileGetKeyValue(p.c_str(), k.c_str(), value.data(), needed, flags);
        if (size > 0) {
            value.resize(static_cast<std::size_t>(size) - 1);
            return value;
        }
    }
    return detail::recorded_failure();
}

/**
 * @brief Sets a key's value: replaces the key's first line (dropping any
 *        further ones) or appends a line; creates a missing file.
 * @param path the file to change.
 * @param key the key to set.
 * @param value its new value.
 * @param format how to write the pair; empty for "%s=%s\n".
 * @return an empty code, or the library's error.
 */
[[nodiscard]] inline std::error_code set_value(std::string_view path, std::string_view key, std::string_view value,
                                               std::string_view format = {}) noexcept
{
    const detail::CString p(path), k(key), v(value), f(format);
    if (std::error_code error = detail::first_error(p, k, v, f)) {
        return error;
    }
    detail::clear_record();
    return detail::checked(VELKCFileSetKeyValue(p.c_str(), k.c_str(), v.c_str(), f.c_str_or_null()));
}

/**
 * @brief Removes every line of a key.
 * @param path the file to change.
 * @param key the key to remove.
 * @return the number of lines removed; errc::key_not_found when there was
 *         none (the file is then left as it was).
 */
inline Result<int> remove_key(std::string_view path, std::string_view key) noexcept
{
    const detail::CString p(path), k(key);
    if (std::error_code error = detail::first_error(p, k)) {
        return error;
    }
    detail::clear_record();
    const int removed = VELKCFileRemoveKey(p.c_str(), k.c_str());
    if (removed <= 0) {
        return detail::recorded_failure();
    }
    return removed;
}

/**
 * @param path the file to read.
 * @return every "key=value" pair outside comments, a later line of a key
 *         overriding an earlier one, or the library's error.
 */
inline Result<Hash> get_pairs(std::string_view path) noexcept
{
    const detail::CString p(path);
    if (std::error_code error = detail::first_error(p)) {
        return error;
    }
    return detail::read_into<Hash>([&p](SzHash **hash) { return VELKCFileGetPair(p.c_str(), hash); });
}

/**
 * @param path the file to read.
 * @param section the section's name, as between the brackets.
 * @return the pairs of the first section of that name, up to the next line
 *         that starts with "["; an empty table when there is no such
 *         section; or the library's error.
 */
inline Result<Hash> get_section(std::string_view path, std::string_view section) noexcept
{
    const detail::CString p(path), s(section);
    if (std::error_code error = detail::first_error(p, s)) {
        return error;
    }
    return detail::read_into<Hash>([&p, &s](SzHash **hash) { return VELKCFileGetSection(p.c_str(), s.c_str(), hash); });
}

/**
 * @param path the file to read.
 * @return the names of the file's sections in file order, or the library's
 *         error.
 */
inline Result<List> section_names(std::string_view path) noexcept
{
    const detail::CString p(path);
    if (std::error_code error = detail::first_error(p)) {
        return error;
    }
    return detail::read_into<List>([&p](SzList **list) { return VELKCFileEnumSection(p.c_str(), list); });
}

/**
 * @brief Sets many keys and removes others in one change; creates a missing
 *        file (mode 0644).
 *
 * Each key's first line is replaced or dropped; the keys of pairs that had
 * no line are appended. Neither table is changed.
 * @param path the file to change.
 * @param pairs the keys to set and their values.
 * @param remove the keys whose line to drop (their values are ignored).
 * @param format how to write a pair; empty for "%s=%s\n".
 * @return an empty code, or the library's error.
 */
[[nodiscard]] inline std::error_code set_keys(std::string_view path, const Hash &pairs, const Hash &remove = Hash(),
                                              std::string_view format = {}) noexcept
{
    const detail::CString p(path), f(format);
    if (std::error_code error = detail::first_error(p, f)) {
        return error;
    }
    Hash empty;
    const Result<SzHash *> table = detail::table_of(pairs, empty);
    if (!table) {
        return table.error();
    }
    detail::clear_record();
    // The library works on copies of both tables and leaves them as they are.
    return detail::checked(VELKCFileSetKeys(p.c_str(), *table, remove.get(), f.c_str_or_null()));
}

/**
 * @brief Appends a section at the end of the file (created when missing),
 *        unless the file has a section of that name already.
 * @param path the file to change.
 * @param section the new section's name.
 * @param pairs its pairs, written in the table's slot order.
 * @param format how to write a pair; empty for "%s=%s\n".
 * @return true when the section was added, false when one of that name
 *         exists (nothing is written); or the library's error.
 */
inline Result<bool> add_section(std::string_view path, std::string_view section, const Hash &pairs,
                                std::string_view format = {}) noexcept
{
    const detail::CString p(path), s(section), f(format);
    if (std::error_code error = detail::first_error(p, s, f)) {
        return error;
    }
    Hash empty;
    const Result<SzHash *> table = detail::table_of(pairs, empty);
    if (!table) {
        return table.error();
    }
    detail::clear_record();
    const int added = VELKCFileAddSection(p.c_str(), s.c_str(), *table, f.c_str_or_null());
    if (added < 0) {
        return detail::recorded_failure();
    }
    return added == 1;
}

/**
 * @brief Replaces the content of every section of a name by pairs, under a
 *        new name if one is given. Comment lines of the old section stay.
 * @param path the file to change.
 * @param section the name of the sections to replace.
 * @param pairs the new content.
 * @param new_name the new name; empty to keep section.
 * @param format how to write a pair; empty for "%s=%s\n".
 * @return an empty code; errc::key_not_found when the file has no such
 *         section (it is left as it was); or the library's error.
 */
[[nodiscard]] inline std::error_code replace_section(std::string_view path, std::string_view section, const Hash &pairs,
                                                     std::string_view new_name = {},
                                                     std::string_view format = {}) noexcept
{
    return detail::modify_section(path, section, new_name, pairs.get(), SECTION_FLAG_REPLACE, format);
}

/**
 * @brief Deletes every section of a name: its header and its lines, except
 *        comment lines.
 * @param path the file to change.
 * @param section the name of the sections to delete.
 * @return an empty code; errc::key_not_found when the file has no such
 *         section (it is left as it was); or the library's error.
 */
[[nodiscard]] inline std::error_code remove_section(std::string_view path, std::string_view section) noexcept
{
    return detail::modify_section(path, section, {}, nullptr, 0, {});
}

/**
 * @brief A section of a file as the section editors address it: its name,
 *        or std::nullopt for the lines before the first section.
 */
using Section = std::optional<std::string_view>;

namespace detail {

// A section's name as a C string, null for no section.
class SectionName {
public:
    explicit SectionName(const Section &section) noexcept
    {
        if (section) {
            name_.emplace(*section);
        }
    }
    const char *c_str() const noexcept { return name_ ? name_->c_str() : nullptr; }
    std::error_code error() const noexcept { return name_ ? name_->error() : std::error_code(); }

private:
    std::optional<CString> name_;
};

} // namespace detail

/**
 * @brief Sets one key of one section, changing nothing else in the file
 *        (see VELKCFileSetSectionKeyValue()); creates a missing file.
 * @param path the file to change.
 * @param section the section, std::nullopt for the lines before the first.
 * @param key the key to set.
 * @param value its new value.
 * @return an empty code, or the library's error.
 */
[[nodiscard]] inline std::error_code set_section_value(std::string_view path, const Section &section,
                                                       std::string_view key, std::string_view value) noexcept
{
    const detail::CString p(path), k(key), v(value);
    const detail::SectionName s(section);
    if (std::error_code error = detail::first_error(p, s, k, v)) {
        return error;
    }
    detail::clear_record();
    return detail::checked(VELKCFileSetSectionKeyValue(p.c_str(), s.c_str(), k.c_str(), v.c_str()));
}

/**
 * @brief Removes one key of one section, changing nothing else in the file.
 * @param path the file to change.
 * @param section the section, std::nullopt for the lines before the first.
 * @param key the key to remove.
 * @return the number of the key's lines removed; errc::key_not_found or
 *         errc::section_not_found when there were none (the file is then
 *         left as it was); or the library's error.
 */
inline Result<int> remove_section_key(std::string_view path, const Section &section, std::string_view key) noexcept
{
    const detail::CString p(path), k(key);
    const detail::SectionName s(section);
    if (std::error_code error = detail::first_error(p, s, k)) {
        return error;
    }
    detail::clear_record();
    const int removed = VELKCFileRemoveSectionKey(p.c_str(), s.c_str(), k.c_str());
    if (removed <= 0) {
        return detail::recorded_failure();
    }
    return removed;
}

/**
 * @brief A transaction on one file: the writers' lock and the file's
 *        content, held from open() until commit() writes the changes in one
 *        commit; a transaction that is not committed is abandoned, nothing
 *        written, when it goes out of scope.
 *
 * Move-only. Other writers of the file wait meanwhile: keep it short.
 *
 *     velkc::Result<velkc::file::Edit> edit = velkc::file::Edit::open("/etc/app.conf");
 *     if (!edit) return edit.error();
 *     velkc::Result<std::string> next = edit->get("ids", "next");
 *     int id = next ? std::stoi(*next) : 1;
 *     if (std::error_code ec = edit->set("ids", "next", std::to_string(id + 1))) return ec;
 *     if (velkc::Result<bool> written = edit->commit(); !written) return written.error();
 */
class Edit {
public:
    /**
     * @brief Opens a transaction (see VELKCFileEditOpen()).
     * @param path the file; a missing one is created on commit unless flags
     *        has EDIT_FLAG_EXISTING.
     * @param flags 0 or EDIT_FLAG_EXISTING.
     * @return the transaction, or the library's error.
     */
    static Result<Edit> open(std::string_view path, int flags = 0) noexcept
    {
        const detail::CString p(path);
        if (std::error_code error = detail::first_error(p)) {
            return error;
        }
        detail::clear_record();
        VELKCFileEdit *edit = VELKCFileEditOpen(p.c_str(), flags);
        if (edit == nullptr) {
            return detail::recorded_failure();
        }
        return Edit(edit);
    }

    /** @brief An ended transaction. */
    Edit() noexcept = default;
    /** @param other a transaction to take over; it ends up ended. */
    Edit(Edit &&other) noexcept : edit_(std::exchange(other.edit_, nullptr)) {}
    /**
     * @param other a transaction to take over; the one held before is
     *        abandoned.
     * @return this.
     */
    Edit &operator=(Edit &&other) noexcept
    {
        if (this != &other) {
            abort();
            edit_ = std::exchange(other.edit_, nullptr);
        }
        return *this;
    }
    Edit(const Edit &) = delete;
    Edit &operator=(const Edit &) = delete;
    /** @brief Abandons the transaction unless it was committed. */
    ~Edit() { abort(); }

    /** @return true while the transaction is open. */
    explicit operator bool() const noexcept { return edit_ != nullptr; }

    /**
     * @param section the section, std::nullopt for the lines before the first.
     * @param key the key.
     * @return its value; errc::key_not_found or errc::section_not_found; or
     *         the library's error. Allocates the std::string.
     */
    Result<std::string> get(const Section &section, std::string_view key) const
    {
        const detail::CString k(key);
        const detail::SectionName s(section);
        if (std::error_code error = detail::first_error(s, k)) {
            return error;
        }
        detail::clear_record();
        const int size = VELKCFileEditGetValue(edit_, s.c_str(), k.c_str(), nullptr, 0);
        if (size <= 0) {
            return detail::recorded_failure();
        }
        std::string value(static_cast<std::size_t>(size), '\0');
        VELKCFileEditGetValue(edit_, s.c_str(), k.c_str(), value.data(), size);
        value.resize(static_cast<std::size_t>(size) - 1);
        return value;
    }

    /**
     * @brief Sets a key of a section (added when missing).
     * @param section the section, std::nullopt for the lines before the first.
     * @param key the key.
     * @param value its new value.
     * @return an empty code, or the library's error.
     */
    [[nodiscard]] std::error_code set(const Section &section, std::string_view key, std::string_view value) noexcept
    {
        const detail::CString k(key), v(value);
        const detail::SectionName s(section);
        if (std::error_code error = detail::first_error(s, k, v)) {
            return error;
        }
        detail::clear_record();
        return detail::checked(VELKCFileEditSetValue(edit_, s.c_str(), k.c_str(), v.c_str()));
    }

    /**
     * @brief Removes a key of a section.
     * @param section the section, std::nullopt for the lines before the first.
     * @param key the key.
     * @return the number of its lines removed; errc::key_not_found or
     *         errc::section_not_found when there was none.
     */
    Result<int> remove(const Section &section, std::string_view key) noexcept
    {
        const detail::CString k(key);
        const detail::SectionName s(section);
        if (std::error_code error = detail::first_error(s, k)) {
            return error;
        }
        detail::clear_record();
        const int removed = VELKCFileEditRemoveKey(edit_, s.c_str(), k.c_str());
        if (removed <= 0) {
            return detail::recorded_failure();
        }
        return removed;
    }

    /**
     * @brief Adds an empty section at the end, unless one of the name exists.
     * @param name the section's name.
     * @return true added, false when it exists; or the library's error.
     */
    Result<bool> add_section(std::string_view name) noexcept
    {
        return named([this](const char *n) { return VELKCFileEditAddSection(edit_, n); }, name);
    }

    /**
     * @brief Renames the first section of a name.
     * @param name the section's name.
     * @param new_name its new name.
     * @return an empty code; errc::section_not_found, or errc::key_exists
     *         when a section of the new name exists; or the library's error.
     */
    [[nodiscard]] std::error_code rename_section(std::string_view name, std::string_view new_name) noexcept
    {
        const detail::CString n(name), to(new_name);
        if (std::error_code error = detail::first_error(n, to)) {
            return error;
        }
        detail::clear_record();
        return VELKCFileEditRenameSection(edit_, n.c_str(), to.c_str()) > 0 ? std::error_code()
                                                                            : detail::recorded_failure();
    }

    /**
     * @brief Removes the first section of a name, header and lines.
     * @param name the section's name.
     * @return an empty code; errc::section_not_found; or the library's error.
     */
    [[nodiscard]] std::error_code remove_section(std::string_view name) noexcept
    {
        const Result<bool> removed =
            named([this](const char *n) { return VELKCFileEditRemoveSection(edit_, n); }, name);
        return !removed ? removed.error() : *removed ? std::error_code() : detail::recorded_failure();
    }

    /** @return the names of the section headers in file order. */
    Result<List> sections() const noexcept
    {
        return detail::read_into<List>([this](SzList **list) { return VELKCFileEditGetSections(edit_, list); });
    }

    /**
     * @param section the section, std::nullopt for the lines before the first.
     * @return its keys, each once, in the order they first appear;
     *         errc::section_not_found.
     */
    Result<List> keys(const Section &section) const noexcept
    {
        const detail::SectionName s(section);
        if (std::error_code error = s.error()) {
            return error;
        }
        return detail::read_into<List>(
            [this, &s](SzList **list) { return VELKCFileEditGetKeys(edit_, s.c_str(), list); });
    }

    /**
     * @param original true for the file as it was read, false for the file
     *        as it stands with the changes made so far.
     * @return the text; or the library's error. Allocates the std::string.
     */
    Result<std::string> text(bool original) const
    {
        char *text = nullptr;
        detail::clear_record();
        const int size = VELKCFileEditGetText(edit_, original ? 1 : 0, &text);
        if (size < 0) {
            return detail::recorded_failure();
        }
        const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
        return std::string(text, static_cast<std::size_t>(size));
    }

    /**
     * @brief Writes the changes in one commit and ends the transaction.
     * @return true when written, false when nothing had changed; or the
     *         library's error (nothing changed in the file).
     */
    Result<bool> commit() noexcept
    {
        detail::clear_record();
        const int written = VELKCFileEditCommit(std::exchange(edit_, nullptr));
        if (written < 0) {
            return detail::recorded_failure();
        }
        return written == 1;
    }

    /** @brief Ends the transaction without writing. */
    void abort() noexcept { VELKCFileEditAbort(std::exchange(edit_, nullptr)); }

private:
    explicit Edit(VELKCFileEdit *edit) noexcept : edit_(edit) {}

    // call(name) on a section name: 1 true, 0 false, -1 the recorded error.
    template <class Call>
    static Result<bool> named(Call call, std::string_view name) noexcept
    {
        const detail::CString n(name);
        if (std::error_code error = n.error()) {
            return error;
        }
        detail::clear_record();
        const int result = call(n.c_str());
        if (result < 0) {
            return detail::recorded_failure();
        }
        return result == 1;
    }

    VELKCFileEdit *edit_ = nullptr;
};

} // namespace file

} // namespace velkc

#endif /* VELKC_FILE_HPP */
