#include "AnswerSignal.h"

NamedValues AnswerSignal::Named(const QMetaMethod& method, const std::vector<QVariant>& vecValues)
{
    NamedValues vecNamed;
    for (const QByteArray& arrName : method.parameterNames()) {
        vecNamed.emplace_back(arrName.toStdString(), vecValues[vecNamed.size()]);
    }
    return vecNamed;
}
