#pragma once
// Writes HTML to a stream as it goes: markup as given, text and attribute values escaped. Pages
// of many thousand rows are streamed through it, so nothing is gathered in memory.

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace torvex::cli {

class HtmlWriter {
public:
    explicit HtmlWriter(std::ostream& out) : out_(out) {}

    /// Markup as it is.
    HtmlWriter& Raw(std::string_view markup) {
        out_.write(markup.data(), static_cast<std::streamsize>(markup.size()));
        return *this;
    }
    /// Text, escaped (see Escape).
    HtmlWriter& Text(std::string_view text);
    /// A number as text.
    HtmlWriter& Number(size_t number);
    /// ` name="value"`, the value escaped.
    HtmlWriter& Attribute(std::string_view name, std::string_view value);
    /// `<tag>text</tag>`, or `<tag class="...">text</tag>` when `cssClass` is not empty.
    HtmlWriter& Element(std::string_view tag, std::string_view text,
                        std::string_view cssClass = {});

    std::ostream& Stream() { return out_; }

    /// The text as HTML text or as a quoted attribute value: & < > " ' become references; bytes
    /// that are no UTF-8, control characters other than tab, line feed and carriage return, and
    /// the C1 controls become U+FFFD, which no page may hold.
    static std::string Escape(std::string_view text);
    /// Writes Escape(text) to `out` without making the string.
    static void WriteEscaped(std::ostream& out, std::string_view text);

private:
    std::ostream& out_;
};

} // namespace torvex::cli
