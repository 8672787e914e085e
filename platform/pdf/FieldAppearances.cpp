#include "platform/pdf/FieldAppearances.h"

#include "platform/pdf/BoundedData.h"
#include "platform/pdf/DecodingBudget.h"
#include "platform/pdf/FontNames.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFAnnotationObjectHelper.hh>
#include <qpdf/QPDFFormFieldObjectHelper.hh>
#include <qpdf/QUtil.hh>
#include <string>

namespace quillorn {

namespace {

/// Flags of text fields (ISO 32000-1, table 228) whose drawing takes more than one line from
/// the left: several lines, asterisks, rich text, a cell for each character.
constexpr int elaborateTextFlags = (1 << 12) | (1 << 13) | (1 << 24) | (1 << 25);

/// More bytes than any picture of a field has.
constexpr std::size_t longestPicture = 4U << 20U;

/// Bytes that may be read, looked through and copied for all fields of a document.
class Allowance {
public:
    explicit Allowance(std::uint64_t bytes) : m_left(bytes) {}

    [[nodiscard]] std::uint64_t left() const { return m_left; }

    /// False when so many are not left, and from then on.
    bool spend(std::uint64_t bytes) {
        const bool suffices = bytes <= m_left;
        m_left = suffices ? m_left - bytes : 0;
        return suffices && m_left > 0;
    }
    /// The same for entries of an array or a dictionary, or the letters of a text.
    bool spendOn(QPDFObjectHandle value) {
        constexpr std::uint64_t bytesPerEntry = 64;
        if (value.isString()) {
            return spend(value.getStringValue().size());
        }
        return spend(bytesPerEntry * (value.isArray()
                                          ? static_cast<std::uint64_t>(value.getArrayNItems())
                                      : value.isDictionary() ? value.getKeys().size()
                                                             : 1));
    }

private:
    std::uint64_t m_left;
};

constexpr int firstPrintableCode = 32;
constexpr int lastASCIICode = 126;

bool isSimpleFont(QPDFObjectHandle font) {
    if (!font.isDictionary()) {
        return false;
    }
    QPDFObjectHandle kind = font.getKey("/Subtype");
    return kind.isName() && (kind.getName() == "/Type1" || kind.getName() == "/TrueType" ||
                             kind.getName() == "/MMType1");
}

/// Whether an encoding of its own leaves the letters of ASCII where they are.
bool keepsASCII(QPDFObjectHandle encoding) {
    QPDFObjectHandle differences = encoding.getKey("/Differences");
    if (!differences.isArray()) {
        return true;
    }
    long long code = 0;
    for (const QPDFObjectHandle& item : differences.getArrayAsVector()) {
        if (QPDFObjectHandle number = item; number.isInteger()) {
            code = number.getIntValue();
        } else if (code++; code > firstPrintableCode && code <= lastASCIICode + 1) {
            return false;
        }
    }
    return true;
}

bool canShow(QPDFObjectHandle font, const std::string& text, Allowance& allowance) {
    if (!isSimpleFont(font)) {
        return false;
    }
    QPDFObjectHandle encoding = font.getKey("/Encoding");
    std::string encoded;
    if (encoding.isName() && encoding.getName() == "/WinAnsiEncoding") {
        return QUtil::utf8_to_win_ansi(text, encoded);
    }
    if (encoding.isName() && encoding.getName() == "/MacRomanEncoding") {
        return QUtil::utf8_to_mac_roman(text, encoded);
    }
    return QUtil::utf8_to_ascii(text, encoded) &&
           (!encoding.isDictionary() ||
            (allowance.spendOn(encoding.getKey("/Differences")) && keepsASCII(encoding)));
}

QPDFObjectHandle fontOf(QPDFFormFieldObjectHelper& field, QPDFAnnotationObjectHelper& widget) {
    const std::string name = fontNameIn(field.getDefaultAppearance());
    if (name.empty()) {
        return QPDFObjectHandle::newNull();
    }
    QPDFObjectHandle picture = widget.getAppearanceStream("/N");
    for (QPDFObjectHandle resources :
         {picture.isStream() ? picture.getDict().getKey("/Resources") : QPDFObjectHandle::newNull(),
          field.getDefaultResources()}) {
        if (resources.isDictionary() && resources.getKey("/Font").isDictionary()) {
            if (QPDFObjectHandle font = resources.getKey("/Font").getKey(name); !font.isNull()) {
                return font;
            }
        }
    }
    return QPDFObjectHandle::newNull();
}

bool canDraw(QPDFFormFieldObjectHelper& field, QPDFAnnotationObjectHelper& widget,
             Allowance& allowance) {
    for (const char* key : {"/V", "/Opt", "/DA"}) {
        if (!allowance.spendOn(field.getInheritableFieldValue(key))) {
            return false;
        }
    }
    if (field.isText() && (field.getFlags() & elaborateTextFlags) != 0) {
        return false;
    }
    std::string shown = field.getValueAsString();
    if (field.isChoice()) {
        for (const std::string& choice : field.getChoices()) {
            shown += choice;
        }
    }
    return field.getQuadding() == 0 && shown.find_first_of("\r\n") == std::string::npos &&
           canShow(fontOf(field, widget), shown, allowance);
}

/// What the stream of a picture holds; nothing when it is too long.
std::optional<std::string> pictureData(const QPDFObjectHandle& picture, Allowance& allowance) {
    std::size_t produced = 0;
    auto data = decodedData(picture, std::min<std::uint64_t>(longestPicture, allowance.left()),
                            false, &produced);
    return allowance.spend(produced) ? data : std::nullopt;
}

/// Gives the widget a picture that no other shares, a copy of what it has. False when the old one
/// cannot be read.
bool detachPicture(QPDFObjectHandle object, QPDFAnnotationObjectHelper& widget,
                   Allowance& allowance) {
    QPDFObjectHandle old = widget.getAppearanceStream("/N");
    if (!old.isStream()) {
        object.removeKey("/AP"); // libqpdf makes an empty one
        return true;
    }
    const std::optional<std::string> data = pictureData(old, allowance);
    if (!data || !allowance.spendOn(old.getDict())) {
        return false;
    }
    QPDFObjectHandle entries = old.getDict().shallowCopy();
    for (const char* key : {"/Length", "/Filter", "/DecodeParms"}) {
        entries.removeKey(key);
    }
    if (QPDFObjectHandle resources = entries.getKey("/Resources"); resources.isDictionary()) {
        QPDFObjectHandle fonts = resources.getKey("/Font");
        if (!allowance.spendOn(resources) || !allowance.spendOn(fonts)) {
            return false;
        }
        resources = resources.shallowCopy();
        if (fonts.isDictionary()) {
            resources.replaceKey("/Font", fonts.shallowCopy());
        }
        entries.replaceKey("/Resources", resources);
    }
    QPDFObjectHandle picture = QPDFObjectHandle::newStream(object.getOwningQPDF(), *data);
    picture.replaceDict(entries);
    QPDFObjectHandle pictures = QPDFObjectHandle::newDictionary();
    pictures.replaceKey("/N", picture);
    object.replaceKey("/AP", pictures);
    return true;
}

/// libqpdf hangs a filter on the picture, which acts where the stream is decoded and is lost
/// where it is copied: its result becomes the stream's data.
bool settlePicture(QPDFObjectHandle picture, Allowance& allowance) {
    const std::optional<std::string> data = pictureData(picture, allowance);
    if (data) {
        QPDFObjectHandle none = QPDFObjectHandle::newNull();
        picture.replaceStreamData(*data, none, none);
    }
    return data.has_value();
}

bool draw(QPDFObjectHandle object, Allowance& allowance) {
    QPDFFormFieldObjectHelper field(object);
    QPDFAnnotationObjectHelper widget(object);
    if (!canDraw(field, widget, allowance) || !detachPicture(object, widget, allowance)) {
        return false;
    }
    field.generateAppearance(widget);
    return settlePicture(widget.getAppearanceStream("/N"), allowance);
}

} // namespace

void drawFields(const std::vector<QPDFObjectHandle>& fields, std::uint64_t fileBytes) {
    Allowance allowance(DecodingBudget::forFilesOf(fileBytes).left());
    for (QPDFObjectHandle object : fields) {
        if (QPDFObjectHandle kind = object.getKey("/Subtype");
            !kind.isName() || kind.getName() != "/Widget") {
            continue;
        }
        QPDFFormFieldObjectHelper field(object);
        if ((field.isText() || field.isChoice()) && !draw(object, allowance)) {
            object.removeKey("/AP");
        }
    }
}

} // namespace quillorn
