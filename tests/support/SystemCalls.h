#pragma once

#include <functional>

/// Makes calls of the system fail, those of one name, for as long as the object lives. There can be several
/// for different names. The program's own objects are concerned, and no library.
class FailingCall
{
public:
    static constexpr int ALWAYS = 1'000'000;

    /// @param szCall  a literal, one of those that CMakeLists.txt lists
    /// @param nError  what `errno` then says; 0 for a call that says success and has done nothing, which
    /// `write`
    ///                can do
    /// @param nAfter  how many calls succeed before
    /// @param nTimes  how many then fail
    /// @param fnMeanwhile  what another process does before such a failure
    explicit FailingCall(
        const char* szCall, int nError, int nAfter = 0, int nTimes = ALWAYS,
        std::function<void()> fnMeanwhile = [] {});
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

private:
    const char* m_szCall;
};

/// Another user than the process's real one, for as long as the object lives: what `geteuid` says.
class OtherUser
{
public:
    OtherUser();
    ~OtherUser();
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;
};

/// Lets every file lie on another device than it does, for as long as the object lives: what `lstat` and
/// `fstat` say.
class OtherDevice
{
public:
    OtherDevice();
    ~OtherDevice();
    OtherDevice(const OtherDevice&) = delete;
    OtherDevice& operator=(const OtherDevice&) = delete;
};

/// A machine whose name takes all the room that there is, and so has no end, for as long as the object lives:
/// what `gethostname` says.
class LongMachineName
{
public:
    LongMachineName();
    ~LongMachineName();
    LongMachineName(const LongMachineName&) = delete;
    LongMachineName& operator=(const LongMachineName&) = delete;
};
