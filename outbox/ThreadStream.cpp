#include "Outbox.h"

#include <utility>

namespace outbox
{
namespace
{

std::string& Stream()
{
    thread_local std::string strStream;
    return strStream;
}

} // namespace

void SetThreadStream(std::string strStream)
{
    Stream() = std::move(strStream);
}

const std::string& ThreadStream()
{
    return Stream();
}

} // namespace outbox
