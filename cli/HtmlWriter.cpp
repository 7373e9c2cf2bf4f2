#include "HtmlWriter.h"

#include <sstream>

namespace torvex::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

// Length of the well-formed UTF-8 sequence at `at` (1 to 4), or 0 when there is none there.
size_t SequenceLength(std::string_view text, size_t at) {
    const auto byte = [&](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned lead = byte(at);
    const auto continuation = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
    if (lead >= 0xC2 && lead <= 0xDF)
        return continuation(at + 1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned second = byte(at + 1);
        if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F))
            return 0; // overlong, or a surrogate
        return continuation(at + 1) && continuation(at + 2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned second = byte(at + 1);
        if ((lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
            return 0; // overlong, or past U+10FFFF
        return continuation(at + 1) && continuation(at + 2) && continuation(at + 3) ? 4 : 0;
    }
    return 0;
}

} // namespace

void HtmlWriter::WriteEscaped(std::ostream& out, std::string_view text) {
    size_t run = 0; // start of the bytes that go out as they are
    const auto flush = [&](size_t end) {
        out.write(text.data() + run, static_cast<std::streamsize>(end - run));
    };
    size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7F && c != '&' && c != '<' && c != '>' && c != '"' && c != '\'') {
            ++i;
            continue;
        }
        if (c == '\t' || c == '\n' || c == '\r') {
            ++i;
            continue;
        }
        if (c >= 0x80) {
            const size_t length = SequenceLength(text, i);
            // U+0080 to U+009F, the C1 controls, are C2 80 to C2 9F.
            const bool control =
                length == 2 && c == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0;
            if (length && !control) {
                i += length;
                continue;
            }
            flush(i);
            out << kReplacement;
            i += length ? length : 1;
            run = i;
            continue;
        }
        flush(i);
        switch (c) {
        case '&':
            out << "&amp;";
            break;
        case '<':
            out << "&lt;";
            break;
        case '>':
            out << "&gt;";
            break;
        case '"':
            out << "&quot;";
            break;
        case '\'':
            out << "&#39;";
            break;
        default: // other C0 controls and DEL
            out << kReplacement;
        }
        run = ++i;
    }
    flush(i);
}

std::string HtmlWriter::Escape(std::string_view text) {
    std::ostringstream out;
    WriteEscaped(out, text);
    return out.str();
}

HtmlWriter& HtmlWriter::Text(std::string_view text) {
    WriteEscaped(out_, text);
    return *this;
}

HtmlWriter& HtmlWriter::Number(size_t number) {
    out_ << number;
    return *this;
}

HtmlWriter& HtmlWriter::Attribute(std::string_view name, std::string_view value) {
    out_ << ' ' << name << "=\"";
    WriteEscaped(out_, value);
    out_ << '"';
    return *this;
}

HtmlWriter& HtmlWriter::Element(std::string_view tag, std::string_view text,
                                std::string_view cssClass) {
    out_ << '<' << tag;
    if (!cssClass.empty())
        Attribute("class", cssClass);
    out_ << '>';
    WriteEscaped(out_, text);
    out_ << "</" << tag << '>';
    return *this;
}

} // namespace torvex::cli
