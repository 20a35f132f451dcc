#pragma once

#include <optional>
#include <string>

/// While it lives, the library that is started opens no outbox, which would send the reports that wait in it.
/// Only the setting is changed; which one is in force can be read again afterwards.
class WithoutOutbox
{
public:
    WithoutOutbox();
    ~WithoutOutbox();
    WithoutOutbox(const WithoutOutbox&) = delete;
    WithoutOutbox& operator=(const WithoutOutbox&) = delete;

private:
    const std::optional<std::string> m_optFolder;
};
