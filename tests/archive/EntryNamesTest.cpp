#include "archive/RawZip.hpp"
#include "archive/ZipCalls.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <gtest/gtest.h>
#include <unicode/unistr.h>

namespace orv::test {
namespace {

struct NameCase {
    const char* encoding;
    std::vector<std::string> names;
};

const NameCase name_cases[] = {
    {"UTF-8", {"日本語.txt", "café"}},
    {"ibm-437", {"café.txt"}},
    {"ibm-437", {"Übersicht.txt", "Grüße.txt", "müßig.doc"}},
    {"ibm-437", {"hören.txt", "año nuevo.doc", "naïve façade.doc"}},
    {"ibm-437", {"Éé.txt"}},
    {"Shift_JIS", {"テスト.txt"}},
    {"Shift_JIS", {"新しいフォルダー 写真.jpg", "報告書.doc"}},
    {"Shift_JIS", {"表.txt", "予定表 2024.xls"}}, // its last byte is a backslash
    {"GBK", {"测试.txt"}},
    {"GBK", {"新建文件夹 照片.jpg", "使用说明书.doc"}},
    {"EUC-KR", {"한글 파일.txt"}},
    {"EUC-KR", {"새 폴더 사진.jpg", "보고서.hwp"}},
    {"Big5", {"測試檔案.txt"}},
    {"Big5", {"新資料夾 照片.jpg"}},
    {"ibm-866", {"Привет.txt"}},
    {"ibm-866", {"Новая папка", "Договор аренды №5.doc"}},
    {"windows-1251", {"Привет.txt"}},
    {"windows-1251", {"Новая папка", "IMG_Отпуск 2023.jpg", "Счёт на оплату.xls"}},
    {"KOI8-R", {"Фотографии с отпуска", "Договор.doc"}},
    {"windows-1250", {"Zażółć gęślą jaźń.txt"}},
    {"windows-1250", {"Žádost o dovolenou.doc", "Příloha č. 1.pdf", "Účtenka.pdf"}},
    {"windows-1250", {"Szerződés.doc", "Fényképek", "Műszaki leírás.pdf"}},
    {"ibm-852", {"Umowa najmu.pdf", "Łódź 2023.docx", "Faktura za usługę.pdf", "Życiorys.doc"}},
    {"windows-1252", {"Grüße aus Köln.jpg", "Verträge"}},
    {"windows-1252", {"Résumé.doc", "Été à la mer", "Déclaration d’impôts.pdf"}},
    {"windows-1252", {"Málaga.txt"}},
    {"ibm-850", {"Relatório não lido.doc", "Canção.mp3"}},
    {"ibm-737", {"Έγγραφα", "Φωτογραφίες από διακοπές"}},
    {"windows-1253", {"Έγγραφα.txt"}},
    {"windows-1253", {"Φωτογραφίες από διακοπές", "Τιμολόγιο.pdf", "Νέος φάκελος"}},
    {"windows-1254", {"Özgeçmiş.docx", "Fotoğraflar", "Şirket raporu.pdf", "İstanbul gezisi.jpg"}},
    {"ibm-857", {"Özgeçmiş.docx", "Fotoğraflar", "İstanbul gezisi.jpg"}},
    {"windows-1255", {"מסמכים", "תמונות מהחופשה", "חשבונית.pdf", "תיקייה חדשה"}},
    {"ibm-862", {"מסמכים", "תמונות מהחופשה", "חשבונית.pdf", "תיקייה חדשה"}},
    {"windows-1256", {"مستندات", "صور العطلة", "فاتورة.pdf", "مجلد جديد"}},
    {"ibm-720", {"مستندات", "صور العطلة", "فاتورة.pdf", "مجلد جديد"}},
};

std::string encoded(const std::string& text, const char* encoding)
{
    const icu::UnicodeString characters = icu::UnicodeString::fromUTF8(text);
    std::string bytes(4 * text.size() + 1, '\0');
    bytes.resize(static_cast<std::size_t>(characters.extract(
        0, characters.length(), bytes.data(), static_cast<std::uint32_t>(bytes.size()), encoding)));
    return bytes;
}

TEST(EntryNames, are_recognised_in_the_encodings_that_archives_use)
{
    for (const NameCase& row : name_cases) {
        const Scratch root;
        make_tree(root.url(), {"in/"});
        std::vector<RawEntry> entries;
        std::vector<std::string> expected;
        for (const std::string& name : row.names) {
            entries.push_back({encoded(name, row.encoding), "x", 0, 0, 0});
            expected.push_back(name + "=x");
        }
        std::sort(expected.begin(), expected.end());
        write_file(root / "a.zip", raw_zip(entries));
        EXPECT_EQ(unzip(root / "a.zip", root / "in"), success);
        EXPECT_EQ(tree(root / "in"), expected) << row.encoding;
    }
}

TEST(EntryNames, a_field_with_the_name_in_unicode_counts_if_it_belongs_to_the_name)
{
    const Scratch root;
    make_tree(root.url(), {"in/"});
    const auto field = [](const std::string& beside, const std::string& name) {
        return extra_field(0x7075, "\1" + little_endian(crc_of(beside), 4) + name);
    };
    write_file(root / "a.zip",
               raw_zip({{"old", "1", 0, 0, 0, 0, {}, {}, {}, field("old", "Ελλάδα")},
                        {"other", "2", 0, 0, 0, 0, {}, {}, {}, field("renamed", "wrong")}}));
    EXPECT_EQ(unzip(root / "a.zip", root / "in"), success);
    EXPECT_EQ(tree(root / "in"), (std::vector<std::string>{"other=2", "Ελλάδα=1"}));
}

} // namespace
} // namespace orv::test
