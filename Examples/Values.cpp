// Values.cpp - variants: one value of any type, as a record and as text.

#include <QX/QX.h>
#include <iostream>

int main()
{
    QX::Variant gain;
    const double decibels = -6.5;
    gain.Set(QX::Variant::kDouble, &decibels, sizeof decibels);
    unsigned char record[32];
    const QX::uint32 length = QX::Variant::Serialize(gain, record, sizeof record);

    QX::Variant copy;
    if (QX::Variant::Deserialize(copy, record, length) == 0) {
        std::cout << length << " bytes, " << copy.GetDouble() << " dB\n";
    }
    // A record that is cut short changes nothing.
    if (QX::Variant::Deserialize(copy, record, length - 1) != 0) {
        std::cout << "refused, still " << copy.GetInt32() << "\n"; // rounded
    }

    QX::VariantEx title;
    title.Set("12 < 15");
    std::cout << title.GetInt32() << ", " << title.GetXMLString() << "\n";
    const QX::VariantEx same(title); // shares the bytes
    std::cout << (same == title ? "equal" : "different") << "\n";
}
