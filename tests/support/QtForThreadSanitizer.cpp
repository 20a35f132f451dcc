// For every program that uses Qt and is built for the thread sanitizer, which Debian's Qt is not.
//
// A thread hands data to another by an event: a queued signal or a call of invokeMethod. Everything that the
// posting thread did before happens before the event is handled. Qt's queue guarantees that, but the
// sanitizer can't see how. This file tells it so, for each event separately, so that it takes nothing else
// for ordered.
//
// Our own threads, locks and atomics are the standard library's, which the sanitizer knows.

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>

#include <cstddef>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

// Functions of the sanitizer that none of its headers declares.
extern "C" {
void AnnotateIgnoreReadsBegin(const char* szFile, int nLine);
void AnnotateIgnoreReadsEnd(const char* szFile, int nLine);
void AnnotateIgnoreWritesBegin(const char* szFile, int nLine);
void AnnotateIgnoreWritesEnd(const char* szFile, int nLine);
}

namespace
{

/// Above 0 while this thread is in a function of Qt's that may post events.
thread_local int t_nPosting = 0;

class Posting
{
public:
    Posting() { ++t_nPosting; }
    ~Posting() { --t_nPosting; }
    Posting(const Posting&) = delete;
    Posting& operator=(const Posting&) = delete;
};

/// Qt's own function, which the program's function of the same name hides.
template <class Function>
Function* QtsOwn(const char* szMangledName)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, szMangledName));
}

/// Called by Qt on the thread that handles an event, just before.
bool BeforeHandling(void** ppReceiverAndEvent)
{
    __tsan_acquire(ppReceiverAndEvent[1]);
    return false; // the event still has to be handled
}

const bool g_bRegistered = QInternal::registerCallback(QInternal::EventNotifyCallback, &BeforeHandling);

} // namespace

// Called by the sanitizer for every allocated block. Qt allocates the event on the thread that posts it, so
// each event is among the blocks; the other blocks have no effect, since no event is handled at their
// addresses.
extern "C" __attribute__((visibility("default"))) void __sanitizer_malloc_hook(const volatile void* pBlock,
                                                                               std::size_t)
{
    if (t_nPosting != 0) {
        __tsan_release(const_cast<void*>(pBlock));
    }
}

// The functions through which our code posts events. Every program defines them, and so our library and Qt's
// other libraries find them before Qt's own.

/// Emits a signal: the moc's code calls it.
void QMetaObject::activate(QObject* pSender, const QMetaObject* pMeta, int nSignal, void** ppArguments)
{
    static auto* const pfnReal = QtsOwn<void(QObject*, const QMetaObject*, int, void**)>(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    const Posting posting;
    pfnReal(pSender, pMeta, nSignal, ppArguments);
}

/// Calls a function object; `QMetaObject::invokeMethod` is a template around it. The object is destroyed by
/// its last owner, the caller or the event; Qt counts the owners internally. This function is an owner too,
/// so that the caller doesn't destroy the object inside Qt, and the sanitizer is told to ignore the
/// destruction here.
bool QMetaObject::invokeMethodImpl(QObject* pObject, QtPrivate::QSlotObjectBase* pSlot,
                                   Qt::ConnectionType eType, void* pReturned)
{
    static auto* const pfnReal = QtsOwn<bool(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType,
                                             void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    struct Owner {
        QtPrivate::QSlotObjectBase* const pOwned;
        ~Owner()
        {
            AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
            AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
            pOwned->destroyIfLastRef();
            AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
            AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
        }
    };
    pSlot->ref();
    const Owner owner{pSlot};
    const Posting posting;
    return pfnReal(pObject, pSlot, eType, pReturned);
}
