#include "App.h"

#include "net/NAMDownload.h"
#include "net/NAManager.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QMetaMethod>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// "signal name(type parameter, …)" of each method that the class itself declares, in order.
std::vector<std::string> OwnMethods(const QMetaObject& meta)
{
    static const char* const KINDS[] = {"method", "signal", "slot", "constructor"};
    static const char* const ACCESSES[] = {"private", "protected", "public"};
    std::vector<std::string> vecMethods;
    for (int nMethod = meta.methodOffset(); nMethod < meta.methodCount(); ++nMethod) {
        const QMetaMethod method = meta.method(nMethod);
        std::string strText = std::string(ACCESSES[method.access()]) + " " + KINDS[method.methodType()] +
                              " " + method.name().toStdString() + "(";
        for (int nParameter = 0; nParameter < method.parameterCount(); ++nParameter) {
            strText += (nParameter == 0 ? "" : ", ") + method.parameterTypes().at(nParameter).toStdString() +
                       " " + method.parameterNames().at(nParameter).toStdString();
        }
        vecMethods.push_back(strText + ")");
    }
    return vecMethods;
}

TEST(MetaObject, OfTheResponsesHoldsTheSignalsInTheirOrder)
{
    const QMetaObject& meta = CUIAgentRsp::staticMetaObject;
    EXPECT_STREQ(meta.className(), "CUIAgentRsp");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    EXPECT_THAT(
        OwnMethods(meta),
        ::testing::ElementsAre(
            "public signal SigGetUserInfoRet(bool bSucc, QVariant varData)",
            "public signal SigPostReportChlStatRet(bool bSucc)",
            "public signal SigPostReportIncubatorStatusRet(bool bSucc)",
            "public signal SigGetProjectsRet(bool bSucc, QVariant vData)",
            "public signal SigGetSupportVerRet(bool bSucc, QString strTickCount)",
            "public signal SigGetBattStatusRet(bool bSucc, QVariant vData)",
            "public signal SigGetAutoExportRet(bool bSucc, QVariant vData)",
            "public signal SigGetFtpFilePathRet(bool bSucc, QVariant vData)",
            "public signal SigGetChannelUpDownPlatformRet(bool bSucc, QString strMessage)",
            "public signal SigGetChannelCheckDataRet(bool bSucc, QString strMessage, QString strAllowBoot, "
            "QString strReason, QVariant varRequestData)",
            "public signal SigGetWhetherInCommonRet(bool bSucc, bool bIsCommon, QString strDxtm)",
            "public signal SigGetCdlxFileListByDxtmListRet(bool bSucc, QStringList lstRet)"));
}

TEST(MetaObject, OfTheRequestsHoldsTheReplySlotsInTheirOrder)
{
    const QMetaObject& meta = CUIAgentReq::staticMetaObject;
    EXPECT_STREQ(meta.className(), "CUIAgentReq");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    EXPECT_THAT(OwnMethods(meta),
                ::testing::ElementsAre(
                    "protected slot Slot_GetChannelCheckData_Reply(bool bSucc, QJsonObject object)",
                    "protected slot Slot_GetWhetherInCommon_Reply(bool bSucc, QJsonObject object)",
                    "protected slot Slot_PostUploadData_Reply(bool bSucc, QJsonObject object)",
                    "protected slot Slot_PostReportCycleData_Reply(bool bSucc, QJsonObject object)",
                    "protected slot Slot_PostReportStepData_Reply(bool bSucc, QJsonObject object)",
                    "protected slot Slot_PostReportStepDataORN_Reply(bool bSucc, QJsonObject object)"));
}

TEST(MetaObject, OfTheNetworkHelpersHoldsSignalsThenSlots)
{
    EXPECT_STREQ(NAManager::staticMetaObject.className(), "NAManager");
    EXPECT_EQ(NAManager::staticMetaObject.superClass(), &QNetworkAccessManager::staticMetaObject);
    EXPECT_THAT(OwnMethods(NAManager::staticMetaObject),
                ::testing::ElementsAre(
                    "public signal signal_reply_finished(bool bSucc, QJsonObject object)",
                    "public signal signal_upload_progress(qlonglong bytesSent, qlonglong bytesTotal)",
                    "private slot slot_reply_finished(QNetworkReply* reply)",
                    "private slot slot_upload_progress(qlonglong bytesSent, qlonglong bytesTotal)"));
    EXPECT_STREQ(NAMDownload::staticMetaObject.className(), "NAMDownload");
    EXPECT_EQ(NAMDownload::staticMetaObject.superClass(), &QNetworkAccessManager::staticMetaObject);
    EXPECT_THAT(
        OwnMethods(NAMDownload::staticMetaObject),
        ::testing::ElementsAre(
            "public signal signal_NReply_finished(bool IfSuccess)",
            "public signal signal_NReply_downloadProgress(qlonglong bytesReceived, qlonglong bytesTotal)",
            "private slot slot_NReply_finished()", "private slot slot_NReply_readyRead()",
            "private slot slot_NReply_downloadProgress(qlonglong bytesReceived, qlonglong bytesTotal)"));
}

TEST(MetaObject, OfTheApplicationIsEmpty)
{
    EXPECT_STREQ(App::staticMetaObject.className(), "App");
    EXPECT_EQ(App::staticMetaObject.superClass(), &QObject::staticMetaObject);
    EXPECT_THAT(OwnMethods(App::staticMetaObject), ::testing::IsEmpty());
}

TEST(MetaObject, HoldsNoPropertiesEnumerationsOrClassInformation)
{
    for (const QMetaObject* const pMeta :
         {&CUIAgentReq::staticMetaObject, &CUIAgentRsp::staticMetaObject, &NAManager::staticMetaObject,
          &NAMDownload::staticMetaObject, &App::staticMetaObject}) {
        EXPECT_EQ(pMeta->propertyCount(), pMeta->propertyOffset()) << pMeta->className();
        EXPECT_EQ(pMeta->enumeratorCount(), pMeta->enumeratorOffset()) << pMeta->className();
        EXPECT_EQ(pMeta->classInfoCount(), pMeta->classInfoOffset()) << pMeta->className();
        EXPECT_EQ(pMeta->constructorCount(), 0) << pMeta->className();
    }
}

} // namespace
