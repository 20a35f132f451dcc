#pragma once

/// While one exists, the record of a response may be moved into the answer to the host rather than
/// copied: nobody reads it afterwards. It counts on the thread that made it.
///
/// Whoever calls the handlers of `CUIAgentRsp` without one, as a subclass may, keeps its record unchanged.
class MovableRecord
{
public:
    /// @param pResponse  the `SResponseHeader` from the decoder; may be null
    explicit MovableRecord(const void* pResponse) noexcept;
    ~MovableRecord();
    MovableRecord(const MovableRecord&) = delete;
    MovableRecord& operator=(const MovableRecord&) = delete;

    /// Whether this record may be moved from. Says yes once.
    static bool Take(const void* pRecord) noexcept;

private:
    const void* m_pOuter; ///< that of the delivery which this one runs within
};
