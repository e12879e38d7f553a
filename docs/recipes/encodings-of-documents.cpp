#include <iostream>

#include <morvel/companions.h>

int main() {
    NXML document;
    for (const char* const bytes :
         {"<?xml version='1.0' encoding='ISO-8859-15'?><price>10 \xA4</price>",
          "<?xml version='1.0' encoding='windows-1252'?><price>10 \x80</price>"}) {
        if (morvel::Load(document, bytes)) return 1;
        std::cout << document.RootValue() << '\n';
    }

    NString utf16(document.ToText(0), EncodingUTF8);
    if (morvel::Load(document, utf16.DataWithBOM(EncodingUTF16))) return 1;
    std::cout << document.RootValue() << '\n';

    // Going out in another encoding: convert the text, and say so in a declaration of one's own.
    NString text = morvel::FromUtf8(document.ToText(0));
    if (morvel::CanConvert(text, EncodingLatin9)) {
        text.ConvertTo(EncodingLatin9);
        const std::string file = "<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?>" + text.Data();
        std::cout << file.size() << " bytes\n";
    }
}
