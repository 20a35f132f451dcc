#include "GetProjects.h"

namespace VelCSDK::Requests
{
namespace
{

SIdName ReadIdName(const JsonObject& object)
{
    return {object.IntText("id"), object.Text("name")};
}

SProjectItem ReadProject(const JsonObject& element)
{
    return {element.Text("xh"), ReadIdName(element.Object("委托单号")),
            ReadIdName(element.Object("测试类型")), ReadIdName(element.Object("项目分类")),
            ReadIdName(element.Object("项目名称"))};
}

} // namespace

RequestText GetProjects::Outgoing(const Arguments& arguments)
{
    Json::Value query;
    query["dxtm"] = arguments.dxtm;
    query["t"] = arguments.t;
    return QueryText(query);
}

void GetProjects::Read(const Reply& reply, const Arguments* pAsked, Record& record)
{
    record.bSuccess = reply.Success();
    const JsonElements projects = reply.Members().Array("实验项目");
    record.lstProject.reserve(projects.size());
    for (const JsonValue& project : projects) {
        record.lstProject.push_back(ReadProject(JsonObject(&project)));
    }
    if (pAsked != nullptr) {
        record.strUserText = pAsked->t;
    }
}

} // namespace VelCSDK::Requests
