#include "platform/pdf/DocumentInformation.h"

#include "platform/pdf/BoundedData.h"

#include <array>
#include <qpdf/QUtil.hh>
#include <string_view>

namespace quillorn {

namespace {

constexpr const char* producer = "Quillorn Folivane";
constexpr std::size_t packetLimit = 16U << 20U; ///< bytes; longer XMP is left out

std::string escapedForXml(std::string_view text) {
    std::string escaped;
    for (const char ch : text) {
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

/// Replaces the text of a property wherever the packet states it, as an element
/// (<pdf:Producer>...</pdf:Producer>) or as an attribute (pdf:Producer="...").
void setProperty(std::string& packet, const std::string& property, const std::string& value) {
    const std::array<std::pair<std::string, std::string>, 3> forms{
        {{"<" + property + ">", "</" + property + ">"},
         {property + "=\"", "\""},
         {property + "='", "'"}}};
    for (const auto& [before, after] : forms) {
        std::size_t start = packet.find(before);
        while (start != std::string::npos) {
            start += before.size();
            const std::size_t end = packet.find(after, start);
            if (end == std::string::npos) {
                break;
            }
            packet.replace(start, end - start, value);
            start = packet.find(before, start + value.size());
        }
    }
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

} // namespace

void DocumentInformation::collect(const CarryContext& context) {
    QPDFObjectHandle metadata = context.source.getRoot().getKey("/Metadata");
    m_anyPacket = m_anyPacket || metadata.isStream();
    if (!context.onlySource) {
        return;
    }
    QPDFObjectHandle information = context.source.getTrailer().getKey("/Info");
    if (information.isDictionary()) {
        for (const auto& [key, value] : information.getDictAsMap()) {
            m_entries.emplace(key, context.carried(value));
        }
    }
    if (metadata.isStream()) {
        m_packet = decodedData(metadata, packetLimit);
    }
}

void DocumentInformation::finish(QPDF& output, QPDFObjectHandle catalog, std::size_t sourceCount,
                                 const std::string& title) const {
    const QUtil::QPDFTime now = QUtil::get_current_qpdf_time();
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
