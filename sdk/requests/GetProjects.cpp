#include "GetProjects.h"

#include <algorithm>
#include <iterator>

namespace VelCSDK::requests
{
namespace
{

SIdName ReadIdName(const JsonObject& object)
{
    return {object.IntText("id"), object.Text("name")};
}

SProjectItem ReadProject(const JsonValue& project)
{
    const JsonObject element(&project);
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
    std::transform(projects.begin(), projects.end(), std::back_inserter(record.lstProject), ReadProject);
    if (pAsked != nullptr) {
        record.strUserText = pAsked->t;
    }
}

} // namespace VelCSDK::requests
