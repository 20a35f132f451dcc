#pragma once

#include <functional>

/// Makes the system calls of one name fail, for as long as the object lives. There can be several objects,
/// for different names. Only calls from the program's own code fail, none from libraries.
class FailingCall
{
public:
    static constexpr int ALWAYS = 1'000'000;

    /// @param szCall  a literal, one of those that CMakeLists.txt lists
    /// @param nError  the `errno` of the failure; 0 for a call, `write` or `flock`, that succeeds without
    /// doing
    ///                anything
    /// @param nAfter  how many calls succeed before
    /// @param nTimes  how many then fail
    /// @param fnMeanwhile  does what another process would do before such a failure
    explicit FailingCall(
        const char* szCall, int nError, int nAfter = 0, int nTimes = ALWAYS,
        std::function<void()> fnMeanwhile = [] {});
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

private:
    const char* m_szCall;
};

/// Makes `geteuid` return another user than the process's real one, for as long as the object lives.
class OtherUser
{
public:
    OtherUser();
    ~OtherUser();
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;
};

/// Makes `lstat` and `fstat` report another device for every file, for as long as the object lives.
class OtherDevice
{
public:
    OtherDevice();
    ~OtherDevice();
    OtherDevice(const OtherDevice&) = delete;
    OtherDevice& operator=(const OtherDevice&) = delete;
};

/// Makes `gethostname` fill the whole buffer, without a terminator, for as long as the object lives.
class LongMachineName
{
public:
    LongMachineName();
    ~LongMachineName();
    LongMachineName(const LongMachineName&) = delete;
    LongMachineName& operator=(const LongMachineName&) = delete;
};
