#include "platform/pdf/DocumentInformation.h"

#include "platform/pdf/BoundedData.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <qpdf/QUtil.hh>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

constexpr const char* producer = "Quillorn Folivane";
constexpr std::size_t packetLimit = 16U << 20U; ///< bytes; longer XMP is left out

/// What a text looks like where only UTF-8 is allowed: names of files are any bytes.
std::string asUTF8(const std::string& text) {
    return QUtil::utf16_to_utf8(QUtil::utf8_to_utf16(text));
}

std::string escapedForXml(const std::string& text) {
    std::string escaped;
    for (const char ch : asUTF8(text)) {
        switch (ch) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            // XML has no place for most control characters.
            if (static_cast<unsigned char>(ch) >= 0x20 || ch == '\t' || ch == '\n' || ch == '\r') {
                escaped += ch;
            }
        }
    }
    return escaped;
}

/// The packet with every statement of a property gone over: what `value` says instead of what
/// stands there, or without the statement where there is no value. A property is stated as an
/// element (<pdf:Producer>...</pdf:Producer>) or as an attribute (pdf:Producer="..."). Packets of
/// megabytes may state it throughout, so each form takes one pass. `any` tells whether one did.
std::string withProperty(std::string packet, const std::string& property, const char* value,
                         bool& any) {
    const std::array<std::pair<std::string, std::string>, 3> forms{
        {{"<" + property + ">", "</" + property + ">"},
         {property + "=\"", "\""},
         {property + "='", "'"}}};
    for (const auto& [before, after] : forms) {
        std::string result;
        std::size_t done = 0;
        std::size_t start = packet.find(before);
        while (start != std::string::npos) {
            const std::size_t end = packet.find(after, start + before.size());
            if (end == std::string::npos) {
                break; // nor would a later one close
            }
            result.append(packet, done, start - done);
            if (value != nullptr) {
                result.append(before).append(value).append(after);
            }
            done = end + after.size();
            start = packet.find(before, done);
            any = true;
        }
        if (done > 0) {
            result.append(packet, done);
            packet = std::move(result);
        }
    }
    return packet;
}

void setProperty(std::string& packet, const std::string& property, const std::string& value) {
    bool any = false;
    packet = withProperty(std::move(packet), property, value.c_str(), any);
}

/// Whether a packet said anything of a property, which it then no longer does.
bool removeProperty(std::string& packet, const std::string& property) {
    bool any = false;
    packet = withProperty(std::move(packet), property, nullptr, any);
    return any;
}

/// Properties that state which rules for archives, accessibility or printing a file follows.
constexpr std::array<const char*, 9> conformanceProperties{
    "pdfaid:part", "pdfaid:conformance",     "pdfaid:amd",
    "pdfaid:rev",  "pdfuaid:part",           "pdfuaid:amd",
    "pdfuaid:rev", "pdfxid:GTS_PDFXVersion", "pdfx:GTS_PDFXVersion"};
constexpr std::array<const char*, 2> conformanceKeys{"/GTS_PDFXVersion", "/GTS_PDFXConformance"};

/// Whether an entry of the information dictionary is what the format wants there: a text, or a name
/// in the one place for one. What other programs add under names of their own may be more.
bool isFitting(const std::string& key, QPDFObjectHandle value) {
    constexpr std::array<const char*, 8> texts{"/Title",        "/Author",  "/Subject",
                                               "/Keywords",     "/Creator", "/Producer",
                                               "/CreationDate", "/ModDate"};
    if (std::find(texts.begin(), texts.end(), key) != texts.end()) {
        return value.isString();
    }
    return key == "/Trapped" ? value.isName()
                             : value.isString() || value.isName() || value.isBool();
}

std::string newPacket(const std::string& title, const std::string& date) {
    return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
           "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
           "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
           "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
           " xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\""
           " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\">\n"
           "<dc:format>application/pdf</dc:format>\n"
           "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">" +
           escapedForXml(title) +
           "</rdf:li></rdf:Alt></dc:title>\n"
           "<pdf:Producer>" +
           producer + "</pdf:Producer>\n<xmp:CreateDate>" + date +
           "</xmp:CreateDate>\n<xmp:ModifyDate>" + date +
           "</xmp:ModifyDate>\n"
           "</rdf:Description>\n</rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"w\"?>\n";
}

/// libqpdf has this too, but sets the time zone anew each time, which two writers must not do at
/// once in the eyes of ThreadSanitizer: it cannot see the C library's lock.
QUtil::QPDFTime currentTime() {
    [[maybe_unused]] static const bool isTimeZoneKnown = (::tzset(), true);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    const auto minutesBehindUTC = static_cast<int>(-local.tm_gmtoff / 60);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,   local.tm_hour,
            local.tm_min,         local.tm_sec,     minutesBehindUTC};
}

} // namespace

void DocumentInformation::collect(const CarryContext& context) {
    QPDFObjectHandle metadata = context.source.getRoot().getKey("/Metadata");
    m_anyPacket = m_anyPacket || metadata.isStream();
    std::optional<std::string> packet = decodedData(metadata, packetLimit);
    bool conformed = false;
    for (const char* property : conformanceProperties) {
        conformed = (packet && removeProperty(*packet, property)) || conformed;
    }
    QPDFObjectHandle information = context.source.getTrailer().getKey("/Info");
    for (const char* key : conformanceKeys) {
        conformed = information.getKeyIfDict(key).isString() || conformed;
    }
    if (conformed) {
        context.notes.add(PDFCarryNote::Kind::conformanceLost, context.file);
    }
    if (!context.onlySource) {
        return;
    }
    if (information.isDictionary()) {
        for (auto& [key, value] : information.getDictAsMap()) {
            const bool dropped = std::find(conformanceKeys.begin(), conformanceKeys.end(), key) !=
                                 conformanceKeys.end();
            if (!dropped && isFitting(key, value)) {
                m_entries.emplace(key, context.carried(value));
            }
        }
    }
    // A packet in another encoding than everybody's cannot be kept true to the other entries.
    if (packet && packet->find('\0') == std::string::npos) {
        m_packet = std::move(packet);
    }
}

void DocumentInformation::finish(QPDF& output, QPDFObjectHandle catalog, std::size_t sourceCount,
                                 const std::string& title) const {
    const QUtil::QPDFTime now = currentTime();
    const std::string date = QUtil::qpdf_time_to_pdf_time(now);
    const std::string isoDate = QUtil::qpdf_time_to_iso8601(now);

    QPDFObjectHandle information = QPDFObjectHandle::newDictionary(m_entries);
    information.replaceKey("/Producer", QPDFObjectHandle::newString(producer));
    information.replaceKey("/ModDate", QPDFObjectHandle::newString(date));
    std::string packet;
    if (sourceCount == 1) {
        if (m_packet) {
            packet = *m_packet;
            setProperty(packet, "pdf:Producer", producer);
            setProperty(packet, "xmp:ModifyDate", isoDate);
            setProperty(packet, "xmp:MetadataDate", isoDate);
        }
    } else {
        information.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(title));
        information.replaceKey("/CreationDate", QPDFObjectHandle::newString(date));
        packet = m_anyPacket ? newPacket(title, isoDate) : std::string();
    }
    output.getTrailer().replaceKey("/Info", output.makeIndirectObject(information));
    if (packet.empty()) {
        catalog.removeKey("/Metadata");
        return;
    }
    QPDFObjectHandle metadata = output.newStream(packet);
    metadata.getDict().replaceKey("/Type", QPDFObjectHandle::newName("/Metadata"));
    metadata.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/XML"));
    catalog.replaceKey("/Metadata", metadata);
}

} // namespace quillorn
