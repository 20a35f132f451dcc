#include "PostUploadData.h"

namespace VelCSDK::requests
{

RequestText PostUploadData::Outgoing(const Arguments& data)
{
    Json::Value object;
    for (const Field& field : FIELDS) {
        object[field.szName] = data.*field.pField;
    }
    return {"", WriteJson(object)};
}

} // namespace VelCSDK::requests
