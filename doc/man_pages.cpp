// man_pages: writes the library's manual pages from Doxygen's XML
// description of the public C headers.
//
//   man_pages XML_DIR TEMPLATE OUT_DIR VERSION
//
// OUT_DIR/man3 gets a page for every function and variable the C headers
// declare, and OUT_DIR/man7 the overview page made from TEMPLATE (the page
// name is TEMPLATE's file name without ".in"): its lines "@header NAME" are
// replaced by what header NAME says about its family, its functions, its
// constants and types, and the line "@errors" by the error codes of
// VELKC_ERROR_CODES, so that neither can drift from the headers. Both
// directories are emptied first, so that no page of a removed function is
// left behind. Any documentation markup this program does not know fails
// the run rather than being dropped from the pages.
#include <velkc/error.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

// ---------------------------------------------------------------- XML ----

// An element, or a run of character data when tag is empty.
struct Node {
    std::string tag;
    std::string text;
    std::vector<std::pair<std::string, std::string>> attrs;
    std::vector<Node> kids;

    std::string attr(std::string_view name) const
    {
        for (const auto &[key, value] : attrs) {
            if (key == name) {
                return value;
            }
        }
        return {};
    }

    const Node *child(std::string_view name) const
    {
        for (const Node &kid : kids) {
            if (kid.tag == name) {
                return &kid;
            }
        }
        return nullptr;
    }

    std::vector<const Node *> children(std::string_view name) const
    {
        std::vector<const Node *> found;
        for (const Node &kid : kids) {
            if (kid.tag == name) {
                found.push_back(&kid);
            }
        }
        return found;
    }
};

// All the character data under a node, in document order.
std::string plain(const Node &node)
{
    if (node.tag.empty()) {
        return node.text;
    }
    std::string text;
    for (const Node &kid : node.kids) {
        text += plain(kid);
    }
    return text;
}

// Runs of white space become one space; none is left at either end.
std::string squeeze(std::string_view text)
{
    std::string out;
    bool space = false;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            space = !out.empty();
        } else {
            if (space) {
                out += ' ';
                space = false;
            }
            out += c;
        }
    }
    return out;
}

void append_utf8(std::string &out, unsigned long cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// A reader of the XML that Doxygen writes: elements, attributes, character
// data, the five predefined entities and character references, comments,
// CDATA sections and the prolog. No DTD, no other entities.
class XmlReader {
public:
    XmlReader(std::string text, std::string where) : s_(std::move(text)), where_(std::move(where)) {}

    Node document()
    {
        skip_misc();
        Node root = element();
        skip_misc();
        if (pos_ != s_.size()) {
            fail("text after the root element");
        }
        return root;
    }

private:
    std::string s_;
    std::string where_;
    size_t pos_ = 0;

    [[noreturn]] void fail(const std::string &what) const
    {
        throw std::runtime_error(where_ + ": offset " + std::to_string(pos_) + ": " + what);
    }

    bool at(std::string_view prefix) const { return std::string_view(s_).substr(pos_).starts_with(prefix); }

    void skip_space()
    {
        while (pos_ < s_.size() && (s_[pos_] == ' ' || s_[pos_] == '\t' || s_[pos_] == '\n' || s_[pos_] == '\r')) {
            ++pos_;
        }
    }

    void skip_past(std::string_view end)
    {
        size_t found = s_.find(end, pos_);
        if (found == std::string::npos) {
            fail("no " + std::string(end));
        }
        pos_ = found + end.size();
    }

    void skip_misc()
    {
        for (;;) {
            skip_space();
            if (at("<?")) {
                skip_past("?>");
            } else if (at("<!--")) {
                skip_past("-->");
            } else if (at("<!")) {
                skip_past(">");
            } else {
                return;
            }
        }
    }

    void expect(char c)
    {
        if (pos_ >= s_.size() || s_[pos_] != c) {
            fail(std::string("expected '") + c + "'");
        }
        ++pos_;
    }

    std::string name()
    {
        size_t start = pos_;
        while (pos_ < s_.size() && std::string_view(" \t\r\n/>=").find(s_[pos_]) == std::string_view::npos) {
            ++pos_;
        }
        if (pos_ == start) {
            fail("expected a name");
        }
        return s_.substr(start, pos_ - start);
    }

    std::string decode(std::string_view raw) const
    {
        std::string out;
        for (size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] != '&') {
                out += raw[i];
                continue;
            }
            size_t semi = raw.find(';', i);
            if (semi == std::string_view::npos) {
                throw std::runtime_error(where_ + ": unterminated entity");
            }
            std::string_view entity = raw.substr(i + 1, semi - i - 1);
            static const std::map<std::string_view, char> named = {
                {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
            if (auto it = named.find(entity); it != named.end()) {
                out += it->second;
            } else if (entity.starts_with("#x")) {
                append_utf8(out, std::stoul(std::string(entity.substr(2)), nullptr, 16));
            } else if (entity.starts_with("#")) {
                append_utf8(out, std::stoul(std::string(entity.substr(1)), nullptr, 10));
            } else {
                throw std::runtime_error(where_ + ": unknown entity &" + std::string(entity) + ";");
            }
            i = semi;
        }
        return out;
    }

    void add_text(Node &parent, std::string text)
    {
        if (!parent.kids.empty() && parent.kids.back().tag.empty()) {
            parent.kids.back().text += text;
        } else {
            Node node;
            node.text = std::move(text);
            parent.kids.push_back(std::move(node));
        }
    }

    Node element()
    {
        expect('<');
        Node node;
        node.tag = name();
        for (;;) {
            skip_space();
            if (at("/>")) {
                pos_ += 2;
                return node;
            }
            if (at(">")) {
                ++pos_;
                break;
            }
            std::string key = name();
            skip_space();
            expect('=');
            skip_space();
            if (pos_ >= s_.size() || (s_[pos_] != '"' && s_[pos_] != '\'')) {
                fail("expected a quoted attribute value");
            }
            char quote = s_[pos_++];
            size_t end = s_.find(quote, pos_);
            if (end == std::string::npos) {
                fail("unterminated attribute value");
            }
            node.attrs.emplace_back(std::move(key), decode(std::string_view(s_).substr(pos_, end - pos_)));
            pos_ = end + 1;
        }
        for (;;) {
            if (pos_ >= s_.size()) {
                fail("element <" + node.tag + "> not closed");
            }
            if (at("</")) {
                pos_ += 2;
                std::string closing = name();
                skip_space();
                expect('>');
                if (closing != node.tag) {
                    fail("</" + closing + "> closes <" + node.tag + ">");
                }
                return node;
            }
            if (at("<!--")) {
                skip_past("-->");
            } else if (at("<![CDATA[")) {
                pos_ += 9;
                size_t end = s_.find("]]>", pos_);
                if (end == std::string::npos) {
                    fail("unterminated CDATA section");
                }
                add_text(node, s_.substr(pos_, end - pos_));
                pos_ = end + 3;
            } else if (s_[pos_] == '<') {
                node.kids.push_back(element());
            } else {
                size_t end = s_.find('<', pos_);
                if (end == std::string::npos) {
                    end = s_.size();
                }
                add_text(node, decode(std::string_view(s_).substr(pos_, end - pos_)));
                pos_ = end;
            }
        }
    }
};

// ---------------------------------------------------------------- roff ----

// Text for a groff text line: a backslash is printed with \e; in code,
// hyphens are minus signs (\-), so that what a reader copies is what the
// program takes.
std::string escape(std::string_view text, bool code)
{
    std::string out;
    for (char c : text) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-' && code) {
            out += "\\-";
        } else {
            out += c;
        }
    }
    return out;
}

// Builds a man page: text is filled into lines, macros get lines of their
// own. A paragraph macro is written only between two runs of text, so that
// no empty paragraph opens a section or a list item.
class Roff {
public:
    void words(std::string_view text, bool code = false)
    {
        for (char c : text) {
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                space_ = !line_.empty();
            } else {
                pending_space();
                line_ += escape(std::string_view(&c, 1), code);
            }
        }
        has_text_ = true;
    }

    // Escapes written as they are (\(lq, \fB, ...).
    void raw(std::string_view text)
    {
        pending_space();
        line_ += text;
        has_text_ = true;
    }

    void font(char f)
    {
        pending_space();
        fonts_.push_back(f);
        line_ += std::string("\\f") + f;
    }

    void end_font()
    {
        fonts_.pop_back();
        line_ += std::string("\\f") + fonts_.back();
    }

    void macro(std::string_view line)
    {
        flush();
        out_ += line;
        out_ += '\n';
        has_text_ = false;
    }

    // Starts a paragraph if text precedes it in the current block: .PP at
    // the left margin, .IP inside an indented block (a list item, a .TP).
    void paragraph(bool indented)
    {
        if (has_text_) {
            macro(indented ? ".IP" : ".PP");
        }
    }

    // What follows a nested block is a new paragraph even if no text came
    // before it.
    void block_ended() { has_text_ = true; }

    std::string str()
    {
        flush();
        return out_;
    }

private:
    std::string out_;
    std::string line_;
    std::vector<char> fonts_{'R'};
    bool space_ = false;
    bool has_text_ = false;

    void pending_space()
    {
        if (space_ && !line_.empty()) {
            line_ += ' ';
        }
        space_ = false;
    }

    void flush()
    {
        if (!line_.empty()) {
            // A text line that starts with a control character would be read
            // as a request.
            if (line_[0] == '.' || line_[0] == '\'') {
                out_ += "\\&";
            }
            out_ += line_;
            out_ += '\n';
        }
        line_.clear();
        space_ = false;
    }
};

// A macro argument, quoted.
std::string macro_arg(std::string_view text) { return "\"" + escape(text, false) + "\""; }

// -------------------------------------------------------- the headers ----

struct Member {
    const Node *def = nullptr;
    std::string name;
    std::string kind;  // function, variable, define, typedef, enum
    std::string group; // the heading of its @name group, "" if none
};

struct Group {
    std::string heading;
    const Node *description = nullptr;
};

struct Header {
    std::string include; // as a program includes it: "velkc/file.h"
    const Node *compound = nullptr;
    std::vector<Member> members;
    std::vector<Group> groups;
    bool placed = false; // named by a line of the template
};

class Library {
public:
    explicit Library(const fs::path &xml_dir)
    {
        std::vector<fs::path> files;
        for (const auto &entry : fs::directory_iterator(xml_dir)) {
            if (entry.path().extension() == ".xml" && entry.path().filename() != "index.xml") {
                files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        for (const fs::path &file : files) {
            std::ifstream in(file, std::ios::binary);
            std::stringstream text;
            text << in.rdbuf();
            documents_.push_back(XmlReader(text.str(), file.string()).document());
            for (const Node *compound : documents_.back().children("compounddef")) {
                compounds_[compound->attr("id")] = compound;
            }
        }
        for (const auto &[id, compound] : compounds_) {
            std::string name = plain(*compound->child("compoundname"));
            if (compound->attr("kind") == "file" && name.ends_with(".h")) {
                add_header(*compound);
            }
        }
        std::sort(headers_.begin(), headers_.end(),
                  [](const Header &a, const Header &b) { return a.include < b.include; });
        for (const Header &header : headers_) {
            for (const Member &member : header.members) {
                if (has_page(member)) {
                    pages_[member.def->attr("id")] = member.name;
                }
            }
        }
    }

    static bool has_page(const Member &member) { return member.kind == "function" || member.kind == "variable"; }

    std::vector<Header> &headers() { return headers_; }

    const Node *compound(const std::string &id) const
    {
        auto it = compounds_.find(id);
        return it == compounds_.end() ? nullptr : it->second;
    }

    // The name of the page a reference leads to, "" if it has none.
    std::string page_of(const std::string &refid) const
    {
        auto it = pages_.find(refid);
        return it == pages_.end() ? std::string() : it->second;
    }

private:
    std::deque<Node> documents_;
    std::map<std::string, const Node *> compounds_;
    std::vector<Header> headers_;
    std::map<std::string, std::string> pages_; // member id -> page name

    void add_header(const Node &compound)
    {
        Header header;
        header.compound = &compound;
        const Node *location = compound.child("location");
        std::string path = location ? location->attr("file") : std::string();
        size_t at = path.rfind("include/");
        header.include = at == std::string::npos ? plain(*compound.child("compoundname")) : path.substr(at + 8);
        for (const Node *section : compound.children("sectiondef")) {
            std::string group;
            if (section->attr("kind") == "user-defined") {
                const Node *heading = section->child("header");
                group = heading ? squeeze(plain(*heading)) : std::string();
                header.groups.push_back({group, section->child("description")});
            }
            for (const Node *def : section->children("memberdef")) {
                header.members.push_back({def, plain(*def->child("name")), def->attr("kind"), group});
            }
        }
        // Doxygen lists the groups in an order of its own: put them back in
        // the header's, by the line of their first member.
        auto first_line = [&](const Group &group) {
            int line = 0;
            for (const Member &member : header.members) {
                const Node *at = member.def->child("location");
                int here = at ? std::stoi(at->attr("line")) : 0;
                if (member.group == group.heading && (line == 0 || here < line)) {
                    line = here;
                }
            }
            return line;
        };
        std::stable_sort(header.groups.begin(), header.groups.end(),
                         [&](const Group &a, const Group &b) { return first_line(a) < first_line(b); });
        headers_.push_back(std::move(header));
    }
};

// ------------------------------------------------- description markup ----

// The names a <parameteritem> documents, "a, b".
std::string parameter_names(const Node &item)
{
    std::string names;
    for (const Node *name : item.child("parameternamelist")->children("parametername")) {
        names += (names.empty() ? "" : ", ") + plain(*name);
    }
    return names;
}

// What a function's description says in other sections of its page.
struct Collected {
    std::vector<const Node *> params;  // <parameteritem>s
    std::vector<const Node *> returns; // <simplesect kind="return">s
    std::set<std::string> see;         // pages referred to
};

class Renderer {
public:
    // With page_sections, the parameters and the return value are left out
    // of the description, for the sections of a function's page that
    // collect() finds them for; otherwise they are described in place.
    Renderer(const Library &library, std::string context, bool page_sections = false)
        : library_(library), context_(std::move(context)), page_sections_(page_sections)
    {}

    // Paragraphs, lists and code of a description element (a
    // <detaileddescription>, a <parameterdescription>, a <listitem>...).
    void blocks(Roff &roff, const Node &node, bool indented)
    {
        for (const Node &kid : node.kids) {
            if (kid.tag.empty()) {
                if (!squeeze(kid.text).empty()) {
                    throw error("text outside a paragraph");
                }
            } else if (kid.tag == "para") {
                para(roff, kid, indented);
            } else {
                block(roff, kid, indented);
            }
        }
    }

    // The character data of the first paragraph, up to its first block.
    static std::string first_paragraph(const Node &description)
    {
        const Node *para = description.child("para");
        if (para == nullptr) {
            return {};
        }
        std::string text;
        for (const Node &kid : para->kids) {
            if (kid.tag.empty() || is_inline(kid.tag)) {
                text += plain(kid);
            } else {
                break;
            }
        }
        return squeeze(text);
    }

    void collect(const Node &node, Collected &found) const
    {
        for (const Node &kid : node.kids) {
            if (kid.tag == "parameterlist") {
                if (kid.attr("kind") != "param") {
                    throw error("a parameter list of kind " + kid.attr("kind"));
                }
                for (const Node *item : kid.children("parameteritem")) {
                    found.params.push_back(item);
                }
            } else if (kid.tag == "simplesect" && kid.attr("kind") == "return") {
                found.returns.push_back(&kid);
            } else if (kid.tag == "ref") {
                std::string page = library_.page_of(kid.attr("refid"));
                if (!page.empty()) {
                    found.see.insert(page);
                }
            }
            collect(kid, found);
        }
    }

    void inline_content(Roff &roff, const Node &node)
    {
        for (const Node &kid : node.kids) {
            if (kid.tag.empty()) {
                roff.words(kid.text);
            } else if (is_inline(kid.tag)) {
                inline_element(roff, kid);
            } else {
                throw error("<" + kid.tag + "> where only text may stand");
            }
        }
    }

private:
    const Library &library_;
    std::string context_;
    bool page_sections_;

    std::runtime_error error(const std::string &what) const
    {
        return std::runtime_error("the documentation of " + context_ + ": " + what +
                                  " (doc/man_pages.cpp does not render it)");
    }

    static bool is_inline(const std::string &tag)
    {
        return tag == "ref" || tag == "computeroutput" || tag == "emphasis" || tag == "bold" || tag == "ulink" ||
               tag == "linebreak" || tag == "anchor";
    }

    void inline_element(Roff &roff, const Node &node)
    {
        if (node.tag == "ref" || node.tag == "bold") {
            roff.font('B');
            inline_content(roff, node);
            roff.end_font();
        } else if (node.tag == "computeroutput") {
            roff.font('B');
            for (const Node &kid : node.kids) {
                if (kid.tag.empty()) {
                    roff.words(kid.text, true);
                } else {
                    inline_element(roff, kid);
                }
            }
            roff.end_font();
        } else if (node.tag == "emphasis") {
            roff.font('I');
            inline_content(roff, node);
            roff.end_font();
        } else if (node.tag == "ulink") {
            inline_content(roff, node);
            roff.words(" <" + node.attr("url") + ">");
        } else if (node.tag == "linebreak") {
            roff.macro(".br");
        }
        // <anchor> marks a place for HTML links and shows nothing.
    }

    // A <para> holds text and, in Doxygen's output, the blocks that follow
    // it in the comment: each run of text between them is a paragraph. With
    // open, its first text continues the paragraph begun by the caller.
    void para(Roff &roff, const Node &node, bool indented, bool open = false)
    {
        for (const Node &kid : node.kids) {
            bool text = kid.tag.empty() || is_inline(kid.tag);
            if (text) {
                if (!open) {
                    if (kid.tag.empty() && squeeze(kid.text).empty()) {
                        continue;
                    }
                    roff.paragraph(indented);
                    open = true;
                }
                if (kid.tag.empty()) {
                    roff.words(kid.text);
                } else {
                    inline_element(roff, kid);
                }
            } else {
                block(roff, kid, indented);
                open = false;
            }
        }
    }

    void block(Roff &roff, const Node &node, bool indented)
    {
        if (node.tag == "parameterlist") {
            if (!page_sections_) {
                parameters(roff, node, indented);
            }
        } else if (node.tag == "simplesect") {
            simplesect(roff, node, indented);
        } else if (node.tag == "itemizedlist" || node.tag == "orderedlist") {
            list(roff, node, indented);
        } else if (node.tag == "programlisting" || node.tag == "verbatim") {
            code(roff, node, indented);
        } else if (node.tag == "heading") {
            roff.paragraph(indented);
            roff.font('B');
            inline_content(roff, node);
            roff.end_font();
            roff.block_ended();
        } else {
            throw error("<" + node.tag + ">");
        }
    }

    void simplesect(Roff &roff, const Node &node, bool indented)
    {
        static const std::map<std::string, std::string> labels = {
            {"note", "Note:"},     {"warning", "Warning:"},  {"attention", "Attention:"},
            {"remark", "Remark:"}, {"pre", "Precondition:"}, {"post", "Postcondition:"},
            {"since", "Since:"},   {"see", "See also:"},     {"return", "Returns:"}};
        std::string kind = node.attr("kind");
        if (kind == "return" && page_sections_) {
            return; // in the section RETURN VALUE
        }
        std::string label;
        if (kind == "par") {
            const Node *title = node.child("title");
            label = title ? squeeze(plain(*title)) : std::string();
        } else if (auto it = labels.find(kind); it != labels.end()) {
            label = it->second;
        } else {
            throw error("a section of kind " + kind);
        }
        bool first = true;
        for (const Node *p : node.children("para")) {
            roff.paragraph(indented);
            if (first && !label.empty()) {
                roff.font('B');
                roff.words(label);
                roff.end_font();
                roff.words(" ");
            }
            para(roff, *p, indented, first && !label.empty());
            first = false;
        }
    }

    void parameters(Roff &roff, const Node &node, bool indented)
    {
        if (indented) {
            roff.macro(".RS");
        }
        for (const Node *item : node.children("parameteritem")) {
            roff.macro(".TP");
            roff.macro(".I " + macro_arg(parameter_names(*item)));
            blocks(roff, *item->child("parameterdescription"), true);
        }
        if (indented) {
            roff.macro(".RE");
        }
        roff.block_ended();
    }

    void list(Roff &roff, const Node &node, bool indented)
    {
        if (indented) {
            roff.macro(".RS");
        }
        int number = 0;
        for (const Node *item : node.children("listitem")) {
            ++number;
            roff.macro(node.tag == "orderedlist" ? ".IP " + std::to_string(number) + ". 4" : ".IP \\(bu 2");
            blocks(roff, *item, true);
        }
        if (indented) {
            roff.macro(".RE");
        }
        roff.block_ended();
    }

    static void code_line(std::string &line, const Node &node)
    {
        for (const Node &kid : node.kids) {
            if (kid.tag.empty()) {
                line += kid.text;
            } else if (kid.tag == "sp") {
                line += ' ';
            } else {
                code_line(line, kid);
            }
        }
    }

    void code(Roff &roff, const Node &node, bool indented)
    {
        std::vector<std::string> lines;
        if (node.tag == "verbatim") {
            std::istringstream in(plain(node));
            for (std::string line; std::getline(in, line);) {
                lines.push_back(line);
            }
        } else {
            for (const Node *codeline : node.children("codeline")) {
                lines.emplace_back();
                code_line(lines.back(), *codeline);
            }
        }
        roff.paragraph(indented);
        roff.macro(".RS 4");
        roff.macro(".EX");
        for (const std::string &line : lines) {
            std::string text = escape(line, true);
            roff.macro(text.starts_with(".") || text.starts_with("'") ? "\\&" + text : text);
        }
        roff.macro(".EE");
        roff.macro(".RE");
        roff.block_ended();
    }
};

// ------------------------------------------------------ the man pages ----

// The one-line summary of a member: its brief description, or else the
// first sentence of its detailed one, without the final period.
std::string summary(const Node &def)
{
    std::string text = Renderer::first_paragraph(*def.child("briefdescription"));
    if (text.empty()) {
        text = Renderer::first_paragraph(*def.child("detaileddescription"));
    }
    for (size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == '.' && text[i + 1] == ' ' && i + 2 < text.size() &&
            std::isupper(static_cast<unsigned char>(text[i + 2]))) {
            text.resize(i + 1);
            break;
        }
    }
    if (text.ends_with('.')) {
        text.pop_back();
    }
    return text;
}

std::string member_type(const Node &def) { return squeeze(plain(*def.child("type"))); }

// The declaration as .B or .BI lines: types in bold, parameter names in italics,
// broken after a comma where a line would pass 78 columns.
std::string synopsis(const Member &member)
{
    const Node &def = *member.def;
    std::string type = member_type(def);
    std::string head = type + (type.ends_with('*') ? "" : " ") + member.name;
    if (member.kind == "variable") {
        return ".B " + macro_arg("extern " + head + ";");
    }
    struct Param {
        std::string type, name;
    };
    std::vector<Param> params;
    for (const Node *param : def.children("param")) {
        Param p{squeeze(plain(*param->child("type"))), ""};
        if (const Node *declname = param->child("declname")) {
            p.name = plain(*declname);
        }
        if (const Node *array = param->child("array")) {
            p.name += plain(*array);
        }
        params.push_back(p);
    }
    std::string out;
    std::string line = ".BI";
    std::string bold = head + "("; // bold text waiting for the next italic word
    size_t column = bold.size();
    const std::string indent(bold.size(), ' ');
    for (size_t i = 0; i < params.size(); ++i) {
        const Param &p = params[i];
        std::string piece = p.type + (p.name.empty() || p.type.ends_with('*') ? "" : " ");
        size_t width = piece.size() + p.name.size() + 2;
        if (i > 0 && column + width > 78) {
            out += line + " " + macro_arg(bold) + "\n";
            line = ".BI";
            bold = indent;
            column = indent.size();
        }
        bold += piece;
        if (!p.name.empty()) {
            line += " " + macro_arg(bold) + " " + macro_arg(p.name);
            bold.clear();
        }
        if (i + 1 < params.size()) {
            bold += ", ";
        }
        column += width;
    }
    return out + line + " " + macro_arg(bold + ");");
}

void write_file(const fs::path &path, const std::string &text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

// The title line, then filling without hyphenation or justification: the
// pages are full of long identifiers, which must not be split.
std::string title(const std::string &name, int section, const std::string &version, const std::string &manual)
{
    return ".TH " + name + " " + std::to_string(section) + " \"\" " + macro_arg("velkc " + version) + " " +
           macro_arg(manual) + "\n.nh\n.ad l\n";
}

void see_also(Roff &roff, const std::vector<std::pair<std::string, int>> &pages)
{
    for (size_t i = 0; i < pages.size(); ++i) {
        roff.macro(".BR " + pages[i].first + " (" + std::to_string(pages[i].second) + ")" +
                   (i + 1 < pages.size() ? "," : ""));
    }
}

void function_page(const Library &library, const Header &header, const Member &member, const fs::path &dir,
                   const std::string &version)
{
    const Node &def = *member.def;
    Renderer render(library, member.name, true);
    Collected found;
    render.collect(*def.child("briefdescription"), found);
    render.collect(*def.child("detaileddescription"), found);

    Roff roff;
    roff.macro(".SH NAME");
    roff.words(member.name);
    roff.raw(" \\-");
    roff.words(" " + summary(def));
    roff.macro(".SH SYNOPSIS");
    roff.macro(".nf");
    roff.macro(".B #include <" + header.include + ">");
    roff.macro(".sp");
    roff.macro(synopsis(member));
    roff.macro(".fi");
    roff.macro(".PP");
    roff.raw("Link with \\fI\\-lvelkc\\fP.");

    roff.macro(".SH DESCRIPTION");
    render.blocks(roff, *def.child("briefdescription"), false);
    render.blocks(roff, *def.child("detaileddescription"), false);
    if (!found.params.empty()) {
        roff.macro(".SS Parameters");
        for (const Node *item : found.params) {
            roff.macro(".TP");
            roff.macro(".I " + macro_arg(parameter_names(*item)));
            render.blocks(roff, *item->child("parameterdescription"), true);
        }
    }
    if (!found.returns.empty()) {
        roff.macro(".SH RETURN VALUE");
        for (const Node *returns : found.returns) {
            render.blocks(roff, *returns, false);
        }
    }
    if (!member.group.empty()) {
        bool described = false;
        for (const Group &group : header.groups) {
            described |= group.heading == member.group && group.description != nullptr &&
                         !squeeze(plain(*group.description)).empty();
        }
        roff.macro(".SH NOTES");
        roff.raw("\\fI<" + escape(header.include, false) + ">\\fP");
        roff.words(" lists " + member.name + " under the heading");
        roff.raw(" \\(lq");
        roff.words(member.group);
        roff.raw(described ? "\\(rq, which" : "\\(rq.");
        if (described) {
            roff.raw(" \\fBvelkc\\fP(7) describes.");
        }
    }
    roff.macro(".SH SEE ALSO");
    std::vector<std::pair<std::string, int>> pages{{"velkc", 7}};
    for (const std::string &page : found.see) {
        if (page != member.name) {
            pages.emplace_back(page, 3);
        }
    }
    see_also(roff, pages);

    write_file(dir / (member.name + ".3"), title(member.name, 3, version, "velkc Library Functions") + roff.str());
}

// ------------------------------------------------- the overview page ----

// A labelled list of an overview: a bold heading, then one .TP per entry.
void heading(Roff &roff, const std::string &text)
{
    roff.macro(".PP");
    roff.macro(".B " + macro_arg(text));
    roff.block_ended();
}

void member_list(Roff &roff, const Library &library, const Header &header, const std::string &group)
{
    std::vector<const Member *> functions, constants, types;
    for (const Member &member : header.members) {
        if (member.group != group) {
            continue;
        }
        if (Library::has_page(member)) {
            functions.push_back(&member);
        } else if (member.kind == "define" || member.kind == "enum") {
            constants.push_back(&member);
        } else if (member.kind == "typedef") {
            types.push_back(&member);
        } else {
            throw std::runtime_error(header.include + ": a member of kind " + member.kind);
        }
    }
    if (!functions.empty()) {
        bool variables = std::any_of(functions.begin(), functions.end(),
                                     [](const Member *member) { return member->kind == "variable"; });
        heading(roff, variables ? "Functions and variables" : "Functions");
        for (const Member *member : functions) {
            roff.macro(".TP");
            roff.macro(".BR " + member->name + " (3)");
            roff.words(summary(*member->def) + ".");
        }
    }
    if (!constants.empty()) {
        heading(roff, "Constants");
        for (const Member *member : constants) {
            const Node &def = *member->def;
            Renderer render(library, member->name);
            if (member->kind == "enum") {
                render.blocks(roff, *def.child("briefdescription"), false);
                render.blocks(roff, *def.child("detaileddescription"), false);
                for (const Node *value : def.children("enumvalue")) {
                    std::string initializer;
                    if (const Node *init = value->child("initializer")) {
                        initializer = squeeze(plain(*init));
                        if (initializer.starts_with("= ")) {
                            initializer.erase(0, 2);
                        }
                    }
                    roff.macro(".TP");
                    roff.macro(".BR " + plain(*value->child("name")) +
                               (initializer.empty() ? "" : " " + macro_arg(" (" + initializer + ")")));
                    render.blocks(roff, *value->child("briefdescription"), true);
                    render.blocks(roff, *value->child("detaileddescription"), true);
                }
                roff.block_ended();
                continue;
            }
            std::string tag = member->name;
            std::vector<const Node *> params = def.children("param");
            if (!params.empty()) {
                tag += "(";
                for (size_t i = 0; i < params.size(); ++i) {
                    tag += (i ? ", " : "") + plain(*params[i]->child("defname"));
                }
                tag += ")";
            }
            std::string value;
            if (const Node *init = def.child("initializer"); init != nullptr && params.empty()) {
                value = squeeze(plain(*init));
                if (!value.starts_with("(")) {
                    value = "(" + value + ")";
                }
            }
            roff.macro(".TP");
            roff.macro(".BR " + macro_arg(tag) + (value.empty() ? "" : " " + macro_arg(" " + value)));
            render.blocks(roff, *def.child("briefdescription"), true);
            render.blocks(roff, *def.child("detaileddescription"), true);
        }
    }
    if (!types.empty()) {
        heading(roff, "Types");
        for (const Member *member : types) {
            const Node &def = *member->def;
            Renderer render(library, member->name);
            roff.macro(".TP");
            roff.macro(".B " + member->name);
            render.blocks(roff, *def.child("briefdescription"), true);
            render.blocks(roff, *def.child("detaileddescription"), true);
            // The fields of the struct the typedef names.
            const Node *type = def.child("type");
            for (const Node *ref : type->children("ref")) {
                const Node *compound =
                    ref->attr("kindref") == "compound" ? library.compound(ref->attr("refid")) : nullptr;
                if (compound == nullptr) {
                    continue;
                }
                roff.macro(".RS");
                for (const Node *section : compound->children("sectiondef")) {
                    for (const Node *field : section->children("memberdef")) {
                        std::string field_type = member_type(*field);
                        std::string field_name = plain(*field->child("name")) + plain(*field->child("argsstring"));
                        roff.macro(".TP");
                        roff.macro(".B " + macro_arg(field_type + (field_type.ends_with('*') ? "" : " ") + field_name));
                        Renderer field_render(library, member->name + "." + field_name);
                        field_render.blocks(roff, *field->child("briefdescription"), true);
                        field_render.blocks(roff, *field->child("detaileddescription"), true);
                    }
                }
                roff.macro(".RE");
                roff.block_ended();
            }
        }
    }
}

void header_section(Roff &roff, const Library &library, Header &header)
{
    const Node &compound = *header.compound;
    Renderer render(library, header.include);
    roff.paragraph(false);
    roff.raw("\\fI<" + escape(header.include, false) + ">\\fP:");
    roff.words(" ");
    if (const Node *para = compound.child("briefdescription")->child("para")) {
        render.inline_content(roff, *para);
    }
    roff.block_ended();
    render.blocks(roff, *compound.child("detaileddescription"), false);
    member_list(roff, library, header, "");
    for (const Group &group : header.groups) {
        heading(roff, group.heading);
        if (group.description != nullptr) {
            render.blocks(roff, *group.description, false);
        }
        member_list(roff, library, header, group.heading);
    }
    header.placed = true;
}

struct ErrorCode {
    unsigned int value;
    const char *name;
    const char *cxx_name;
    const char *text;
    const char *meaning;
};

#define VELKC_MAN_ERROR_CODE(NAME, CXX_NAME, TEXT, MEANING) {NAME, #NAME, #CXX_NAME, TEXT, MEANING},
constexpr ErrorCode kErrorCodes[] = {VELKC_ERROR_CODES(VELKC_MAN_ERROR_CODE)};
#undef VELKC_MAN_ERROR_CODE

void error_codes(Roff &roff)
{
    for (const ErrorCode &code : kErrorCodes) {
        char value[16];
        std::snprintf(value, sizeof value, "0x%04X", code.value);
        roff.macro(".TP");
        roff.macro(".BR " + std::string(code.name) + " " + macro_arg(std::string(" (") + value + ")"));
        roff.words(code.meaning);
        roff.words(" Its text is");
        roff.raw(" \\(lq");
        roff.words(code.text);
        roff.raw("\\(rq; in C++ it is");
        roff.font('B');
        roff.words(std::string(" velkc::errc::") + code.cxx_name);
        roff.end_font();
        roff.raw(".");
    }
    roff.block_ended();
}

void overview_page(Library &library, const fs::path &template_path, const fs::path &path, const std::string &version)
{
    std::ifstream in(template_path);
    if (!in) {
        throw std::runtime_error("cannot read " + template_path.string());
    }
    Roff roff;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const std::string where = template_path.string() + ":" + std::to_string(number);
        for (size_t at; (at = line.find("@VERSION@")) != std::string::npos;) {
            line.replace(at, 9, version);
        }
        if (line.starts_with("@header ")) {
            std::string include = line.substr(8);
            auto &headers = library.headers();
            auto it = std::find_if(headers.begin(), headers.end(),
                                   [&](const Header &header) { return header.include == include; });
            if (it == headers.end()) {
                throw std::runtime_error(where + ": no header " + include);
            }
            header_section(roff, library, *it);
        } else if (line == "@errors") {
            error_codes(roff);
        } else if (line.starts_with("@")) {
            throw std::runtime_error(where + ": unknown directive " + line);
        } else {
            roff.macro(line);
        }
    }
    for (const Header &header : library.headers()) {
        bool functions = std::any_of(header.members.begin(), header.members.end(), Library::has_page);
        if (functions && !header.placed) {
            throw std::runtime_error(template_path.string() + ": no line \"@header " + header.include +
                                     "\", so its functions are missing from the overview");
        }
    }
    write_file(path, roff.str());
}

void run(const fs::path &xml_dir, const fs::path &template_path, const fs::path &out_dir, const std::string &version)
{
    Library library(xml_dir);
    fs::path man3 = out_dir / "man3";
    fs::path man7 = out_dir / "man7";
    fs::remove_all(man3);
    fs::remove_all(man7);
    fs::create_directories(man3);
    fs::create_directories(man7);
    int pages = 0;
    for (const Header &header : library.headers()) {
        for (const Member &member : header.members) {
            if (Library::has_page(member)) {
                function_page(library, header, member, man3, version);
                ++pages;
            }
        }
    }
    std::string name = template_path.filename().string();
    if (name.ends_with(".in")) {
        name.resize(name.size() - 3);
    }
    overview_page(library, template_path, man7 / name, version);
    std::printf("man_pages: %d pages in %s, %s in %s\n", pages, man3.c_str(), name.c_str(), man7.c_str());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: man_pages XML_DIR TEMPLATE OUT_DIR VERSION\n");
        return 2;
    }
    try {
        run(argv[1], argv[2], argv[3], argv[4]);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "man_pages: %s\n", e.what());
        return 1;
    }
    return 0;
}
