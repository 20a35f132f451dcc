#include "AgentProbe.h"

#include <ktshttpagent/ResultVariants.h>

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace
{

/// Each type, with the name by which hosts look it up.
struct VariantType {
    const char* szName;
    int (*fnId)();
};

template <class Record>
constexpr int (*ID_OF)() = [] { return qMetaTypeId<Record>(); };

const VariantType VARIANT_TYPES[] = {
    {"SRequestGetChannelCheckData", ID_OF<tagSRequestGetChannelCheckData>},
    {"SResponseGetAutoExport", ID_OF<SResponseGetAutoExport>},
    {"SResponseGetBatteryStatus", ID_OF<SResponseGetBatteryStatus>},
    {"SResponseGetChannelCheckData", ID_OF<SResponseGetChannelCheckData>},
    {"SResponseGetFtpFilePath", ID_OF<SResponseGetFtpFilePath>},
    {"SResponseGetProject", ID_OF<SResponseGetProject>},
    {"SResponseGetWhetherInCommon", ID_OF<SResponseGetWhetherInCommon>},
    {"USER_INFO", ID_OF<USER_INFO>},
};

TEST(ResultVariants, HaveExactlyTheirNamesAndAreUnknownBeforeTheirFirstUse)
{
    for (const VariantType& type : VARIANT_TYPES) {
        EXPECT_EQ(QMetaType::type(type.szName), QMetaType::UnknownType) << type.szName;
        const int nId = type.fnId();
        EXPECT_STREQ(QMetaType::typeName(nId), type.szName);
        EXPECT_EQ(QMetaType::type(type.szName), nId);
    }
    EXPECT_EQ(QMetaType::type("tagSRequestGetChannelCheckData"), QMetaType::UnknownType);
    EXPECT_EQ(QMetaType::type("SSupportVer"), QMetaType::UnknownType);
}

TEST(ResultVariants, AreConstructedAndDestructedAndNeverMovedAsBytes)
{
    for (const VariantType& type : VARIANT_TYPES) {
        const QMetaType::TypeFlags flags = QMetaType::typeFlags(type.fnId());
        EXPECT_EQ(flags, QMetaType::NeedsConstruction | QMetaType::NeedsDestruction |
                             QMetaType::WasDeclaredAsMetaType)
            << type.szName;
        EXPECT_EQ(QMetaType::metaObjectForType(type.fnId()), nullptr) << type.szName;
    }
}

TEST(ResultVariants, AreRegisteredByTheFirstAnswerOfTheirKind)
{
    AgentResponseProbe response;
    const struct {
        int nType;
        const char* szName;
    } firstAnswers[] = {
        {3100, "USER_INFO"}, {3109, "SResponseGetChannelCheckData"}, {3110, "SResponseGetWhetherInCommon"}};
    const SResponseGetWhetherInCommon record;
    SResponseHeader header;
    header.pData = &record;
    for (const auto& answer : firstAnswers) {
        EXPECT_EQ(QMetaType::type(answer.szName), QMetaType::UnknownType);
        const bool bInCommon = answer.nType == 3110;
        response.OnResponse(answer.nType, nullptr, bInCommon ? &header : nullptr, bInCommon ? 0 : 1);
        EXPECT_NE(QMetaType::type(answer.szName), QMetaType::UnknownType);
    }
}

TEST(ResultVariants, AProjectListIsRegisteredByItsFirstSignal)
{
    AgentResponseProbe response;
    SResponseGetProject record;
    record.lstProject.resize(2);
    SResponseHeader header;
    header.pData = &record;
    EXPECT_EQ(QMetaType::type("SResponseGetProject"), QMetaType::UnknownType);
    response.OnResponse(3103, nullptr, &header, 0);
    EXPECT_NE(QMetaType::type("SResponseGetProject"), QMetaType::UnknownType);
}

TEST(ResultVariants, CopiesAreIndependent)
{
    SResponseGetProject record;
    record.bSuccess = true;
    record.lstProject.push_back({"1", {"12", "order"}, {}, {}, {}});
    const QVariant first = QVariant::fromValue(record);
    QVariant second = first;

    auto changed = second.value<SResponseGetProject>();
    changed.lstProject.front().wtdh.name = "changed";
    changed.lstProject.emplace_back();
    second.setValue(changed);
    record.lstProject.clear();

    const auto kept = first.value<SResponseGetProject>();
    ASSERT_EQ(kept.lstProject.size(), 1U);
    EXPECT_EQ(kept.lstProject.front().wtdh.name, "order");
    EXPECT_EQ(second.value<SResponseGetProject>().lstProject.size(), 2U);
}

TEST(ResultVariants, AreDefaultWithoutASource)
{
    for (const VariantType& type : VARIANT_TYPES) {
        const QVariant variant(type.fnId(), nullptr);
        EXPECT_TRUE(variant.isValid()) << type.szName;
    }
    const QVariant info(qMetaTypeId<USER_INFO>(), nullptr);
    EXPECT_EQ(info.value<USER_INFO>().id, 0);
    EXPECT_EQ(info.value<USER_INFO>().title, "");
}

} // namespace
