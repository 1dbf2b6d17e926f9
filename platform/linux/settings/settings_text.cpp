#include "platform/linux/settings/settings_text.h"

#include <algorithm>
#include <cassert>
#include <vector>

#include "platform/linux/settings/toml.h"

namespace vexcap {
namespace {

constexpr size_t partsOfKey = 32;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// "key = value" or the header of a table, with the lines that it stands on.
struct Statement {
    size_t begin = 0;
    size_t end = 0;  ///< Behind the break of its last line.
    bool header = false;
    size_t keyBegin = 0;  ///< A header's key has its brackets.
    size_t keyEnd = 0;
    size_t valueBegin = 0;
    size_t valueEnd = 0;
};

bool isOneOf(std::string_view characters, char c) { return characters.find(c) != characters.npos; }

/// Where the text whose first quote is at `at` is over.
size_t behindQuotes(std::string_view file, size_t at) {
    const char quote = file[at];
    const std::string_view triple = quote == '"' ? "\"\"\"" : "'''";
    const bool severalLines = file.substr(at).starts_with(triple);
    for (at += severalLines ? 3 : 1; at < file.size(); ++at) {
        if (file[at] == '\\' && quote == '"') {
            ++at;
        } else if (severalLines && file.substr(at).starts_with(triple)) {
            // Of up to five quotes the last three end the text.
            const std::string_view more = file.substr(at + 3, 2);
            return at + 3 + std::min(more.find_first_not_of(quote), more.size());
        } else if (!severalLines && (file[at] == quote || file[at] == '\n')) {
            return at + (file[at] == quote);
        }
    }
    return file.size();
}

/// The statements of a file in their order, nothing when a key has too many parts. What is no TOML gives statements
/// of no use.
std::optional<std::vector<Statement>> statementsOf(std::string_view file) {
    std::vector<Statement> statements;
    size_t at = file.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    while (at < file.size()) {
        Statement statement{.begin = at};
        size_t open = 0;    // brackets
        size_t dots = 0;    // since anything that no key goes across
        size_t equals = 0;  // the first of them
        at = std::min(file.find_first_not_of(" \t", at), file.size());
        statement.keyBegin = at;
        while (at < file.size() && (file[at] != '\n' || open)) {
            const char c = file[at];
            if (c == '#') {
                at = std::min(file.find('\n', at), file.size());
                continue;
            }
            if (c == '.' && ++dots == partsOfKey) return {};
            if (isOneOf("[]{}=,\n", c)) dots = 0;
            if (isOneOf("[{", c)) ++open;
            if (isOneOf("]}", c) && open) --open;
            if (c == '=' && !equals) equals = at;
            at = isOneOf("\"'", c) ? behindQuotes(file, at) : at + 1;
            if (!isOneOf(" \t\r\n", c)) statement.valueEnd = at;
        }
        at = std::min(at + 1, file.size());
        statement.end = at;
        if (!statement.valueEnd) continue;  // a blank line or a comment
        statement.header = file[statement.keyBegin] == '[';
        statement.keyEnd = statement.header ? statement.valueEnd : equals;
        statement.valueBegin = std::min(file.find_first_not_of(" \t", equals + 1), statement.valueEnd);
        statements.push_back(statement);
    }
    return statements;
}

std::optional<toml::table> parse(std::string_view file) {
    if (!statementsOf(file)) return {};
    try {
        return toml::parse(file);
    } catch (const toml::parse_error&) {
        return {};
    }
}

template <typename Type>
std::optional<Type> find(std::string_view file, std::string_view name) {
    const auto values = parse(file);
    if (!values) return {};
    const toml::key* first = nullptr;
    const toml::value<Type>* found = nullptr;
    for (const auto& [key, value] : *values) {
        if (!sameName(key.str(), name) || (first && first->source().begin < key.source().begin)) continue;
        first = &key;
        found = value.template as<Type>();
    }
    return found ? std::optional(found->get()) : std::nullopt;
}

std::string quoted(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else if (c == '"' || c == '\\') {
            out += {'\\', c};
        } else if (uint8_t(c) < 0x20 || c == 0x7F) {
            out += {'\\', 'u', '0', '0', digits[uint8_t(c) / 16], digits[uint8_t(c) % 16]};
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string textOf(const SettingValue& value) {
    const auto* const number = std::get_if<uint32_t>(&value);
    return number ? std::to_string(*number) : quoted(std::get<std::string>(value));
}

std::string keyOf(std::string_view name) {
    const auto isBare = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    };
    const bool bare = !name.empty() && std::all_of(name.begin(), name.end(), isBare);
    return bare ? std::string(name) : quoted(name);
}

/// What a statement outside of all tables, or a header, is about.
struct Subject {
    std::string name;
    bool isValue = false;  ///< Of "name = ...", not of a table.
};

Subject subjectOf(std::string_view file, const Statement& statement) {
    std::string line(file.substr(statement.keyBegin, statement.keyEnd - statement.keyBegin));
    if (!statement.header) line += "=0";
    const toml::table parsed = parse(line).value();
    return {std::string(parsed.begin()->first.str()), parsed.begin()->second.is_integer()};
}

/// All that makes up what find() looks at.
struct Definition {
    Subject subject;                    ///< Named as in the file, if it is there.
    std::vector<Statement> statements;  ///< None: the name is not there. More than one for a table.
};

Definition definitionOf(std::string_view file, std::string_view name) {
    Definition definition{.subject = {std::string(name)}, .statements = {}};
    Subject subject;
    bool inTable = false;
    const auto all = statementsOf(file);
    for (const Statement& statement : *all) {
        if (statement.header || !inTable) subject = subjectOf(file, statement);
        inTable |= statement.header;
        if (definition.statements.empty() && sameName(subject.name, name))
            definition.subject = subject;
        else if (definition.statements.empty() || subject.name != definition.subject.name)
            continue;
        definition.statements.push_back(statement);
    }
    return definition;
}

/// Where a new value goes.
size_t endOfValues(std::string_view file) {
    std::optional<size_t> end;
    const auto all = statementsOf(file);
    for (const Statement& statement : *all) {
        if (statement.header) return end.value_or(statement.begin);
        end = statement.end;
    }
    return file.size();
}

/// Whether `file` has the values `before`, but for `name`, which has this value instead of what was at `replaced`.
[[maybe_unused]] bool hasChanged(toml::table before, const std::string& replaced, const std::string& name,
                                 const SettingValue& value, std::string_view file) {
    before.erase(replaced);
    std::visit([&](const auto& held) { before.insert(name, held); }, value);
    return parse(file) == before;
}

}  // namespace

char lowered(char letter) { return letter >= 'A' && letter <= 'Z' ? char(letter + 32) : letter; }

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lowered(x) == lowered(y); });
}

std::string damageOf(std::string_view file) {
    if (!statementsOf(file)) return "a name has too many parts";
    try {
        const toml::table values = toml::parse(file);
        return {};
    } catch (const toml::parse_error& error) {
        return "line " + std::to_string(error.source().begin.line) + ": " + std::string(error.description());
    }
}

std::optional<uint32_t> findNumber(std::string_view file, std::string_view name) {
    const auto number = find<int64_t>(file, name);
    if (!number || *number < INT32_MIN || *number > UINT32_MAX) return {};
    return uint32_t(*number);
}

std::optional<std::string> findText(std::string_view file, std::string_view name) {
    return find<std::string>(file, name);
}

std::optional<std::string> withValue(std::string_view file, std::string_view name, const SettingValue& value) {
    const auto before = parse(file);
    if (!before) return {};
    std::string text(file);
    const auto [subject, statements] = definitionOf(file, name);
    if (subject.isValue) {
        const Statement& present = statements.front();
        text.replace(present.valueBegin, present.valueEnd - present.valueBegin, textOf(value));
    } else {
        for (auto it = statements.rbegin(); it != statements.rend(); ++it) text.erase(it->begin, it->end - it->begin);
        const size_t place = endOfValues(text);
        const bool lineIsOpen = place > 0 && text[place - 1] != '\n';
        text.insert(place, (lineIsOpen ? "\n" : "") + keyOf(name) + " = " + textOf(value) + '\n');
    }
    assert(hasChanged(*before, subject.name, subject.isValue ? subject.name : std::string(name), value, text));
    return text;
}

}  // namespace vexcap
