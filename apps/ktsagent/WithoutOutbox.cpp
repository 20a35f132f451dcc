#include "WithoutOutbox.h"

#include "SetVariable.h"

#include "outbox/OutboxSettings.h"
#include "platform/system/Environment.h"

WithoutOutbox::WithoutOutbox() : m_optFolder(EnvironmentVariable(outbox::FOLDER_VARIABLE))
{
    SetVariable(outbox::FOLDER_VARIABLE, ""); // also wins over a profile
}

WithoutOutbox::~WithoutOutbox()
{
    m_optFolder ? SetVariable(outbox::FOLDER_VARIABLE, *m_optFolder)
                : RemoveVariable(outbox::FOLDER_VARIABLE);
}
