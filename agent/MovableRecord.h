#pragma once

/// While such an object exists, the record of that response may be moved into the answer to the host instead
/// of being copied, because nobody reads it afterwards. This applies to the thread that made the object.
///
/// Without such an object, for example if a subclass calls the handlers of `CUIAgentRsp`, records are copied
/// and stay unchanged.
class MovableRecord
{
public:
    /// @param pResponse  the `SResponseHeader` from the decoder; may be null
    explicit MovableRecord(const void* pResponse) noexcept;
    ~MovableRecord();
    MovableRecord(const MovableRecord&) = delete;
    MovableRecord& operator=(const MovableRecord&) = delete;

    /// Whether this record may be moved from. Returns true only once for each record.
    static bool Take(const void* pRecord) noexcept;

private:
    const void* m_pOuter; ///< the record of the outer delivery, if deliveries nest
};
