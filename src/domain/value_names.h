#pragma once

#include <QString>
#include <QVariant>

namespace tlm {

// The text stored in the database for an item property's numeric code. The property name is
// matched without regard to case; a name without a table gives the value itself as text, a code
// not in its table gives the table's fallback.
QString fncGetItemValueName(const QString& propertyName, const QVariant& value);

// The major number of a version text: the part before the first ".", 0 when it is no number.
qint16 fncMajorVersion(const QString& versionText);

// Category colours by index 0..26: the name and the colour as a BGR value (red in the low byte).
// An index outside the table gives the entry of index 0.
constexpr int kCategoryColorCount = 27;
QString GetCategoryColorName(int index);
qint32 GetOleColorFromColorIndex(int index);

struct RgbColor {
    int red = 0;
    int green = 0;
    int blue = 0;
    bool operator==(const RgbColor&) const = default;
};
RgbColor RgbFromOleColor(qint32 oleColor);

}  // namespace tlm
