#include "tools/vuuid.h"
#include "support/warnings.h"

#include <cstring>

namespace
{
constexpr VUuid featureList(0x3F8FDC44, 0x3015, 0x4F3E, 0xB6, 0xD6, 0xE4, 0xAA, 0xAA, 0xBD, 0xEA,
                            0xAD);
const char featureText[] = "{3F8FDC44-3015-4F3E-B6D6-E4AAAABDEAAD}";
} // namespace

TEST(VUuid, ReadsEitherCaseAndWritesUpperCase)
{
    const QString text = QString::fromLatin1(featureText);
    EXPECT_EQ(featureList.toString(), text);
    EXPECT_TRUE(VUuid(text) == featureList);
    EXPECT_TRUE(VUuid(text.toLower()) == featureList);
    EXPECT_FALSE(VUuid(text).isNull());
}

TEST(VUuid, AnythingButTheWholeFormIsNull)
{
    QStringList texts{QString(), QStringLiteral("{}"),
                      QStringLiteral("3F8FDC44-3015-4F3E-B6D6-E4AAAABDEAAD")};
    const QString text = QString::fromLatin1(featureText);
    texts << text + u' ' << text.left(37);
    for (int i = 0; i < text.size(); ++i)
        texts << QString(text).replace(i, 1, u'g');
    texts << QString(text).replace(1, 1, QChar(0x0661))
          << QString(text).replace(1, 1, QChar(0x0133));
    for (const QString& bad : texts)
        EXPECT_TRUE(VUuid(bad).isNull()) << bad.toStdString();
}

TEST(VUuid, EveryFieldCountsInComparison)
{
    QString text = QStringLiteral("{00000000-0000-0000-0000-000000000000}");
    EXPECT_TRUE(VUuid(text).isNull());
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] != u'0')
            continue;
        const VUuid one(QString(text).replace(i, 1, u'1'));
        EXPECT_TRUE(one != VUuid() && !one.isNull()) << i;
    }
}
