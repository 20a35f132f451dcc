// For every program with Qt in it that is built for the thread sanitizer, which Debian's Qt is not.
//
// One thread hands something to another by an event: a queued signal, a call of invokeMethod. Whoever handles
// an event has seen all that the one who posted it did before. Qt's queue sees to that, but the sanitizer
// can't see how; it is told here, for each event by itself, so that it takes nothing else for ordered.
//
// Threads, locks and atomics of ours are the standard library's, which the sanitizer knows.

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>

#include <cstddef>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

// Of the sanitizer; no header of its declares them.
extern "C" {
void AnnotateIgnoreReadsBegin(const char* szFile, int nLine);
void AnnotateIgnoreReadsEnd(const char* szFile, int nLine);
void AnnotateIgnoreWritesBegin(const char* szFile, int nLine);
void AnnotateIgnoreWritesEnd(const char* szFile, int nLine);
}

namespace
{

/// While this thread is in a function of Qt's that may post events.
thread_local int t_nPosting = 0;

class CPosting
{
public:
    CPosting() { ++t_nPosting; }
    ~CPosting() { --t_nPosting; }
    CPosting(const CPosting&) = delete;
    CPosting& operator=(const CPosting&) = delete;
};

/// Qt's own function, in whose place the program's stands.
template <class Function>
Function* QtsOwn(const char* szMangledName)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, szMangledName));
}

/// Called by Qt on the thread that handles an event, just before.
bool BeforeHandling(void** ppReceiverAndEvent)
{
    __tsan_acquire(ppReceiverAndEvent[1]);
    return false; // the event is not handled by this
}

const bool g_bRegistered = QInternal::registerCallback(QInternal::EventNotifyCallback, &BeforeHandling);

} // namespace

// Called by the sanitizer with every block of memory. Qt makes the event on the thread that posts it, so
// among the blocks is each event; the others say nothing to anybody, since no event is handled at their
// addresses.
extern "C" __attribute__((visibility("default"))) void __sanitizer_malloc_hook(const volatile void* pBlock,
                                                                               std::size_t)
{
    if (t_nPosting != 0) {
        __tsan_release(const_cast<void*>(pBlock));
    }
}

// The functions by which code of ours posts events. They stand before Qt's in every program, and the library
// and Qt's other libraries find them first.

/// Emits a signal: the moc's code calls it.
void QMetaObject::activate(QObject* pSender, const QMetaObject* pMeta, int nSignal, void** ppArguments)
{
    static auto* const pfnReal = QtsOwn<void(QObject*, const QMetaObject*, int, void**)>(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    const CPosting posting;
    pfnReal(pSender, pMeta, nSignal, ppArguments);
}

/// Calls a function object: `QMetaObject::invokeMethod` is a template around it. The object is destroyed by
/// its last owner, the caller or the event, and they are counted inside Qt. So that it is not destroyed there
/// when that is the caller, this is an owner too, whose destroying the sanitizer does not look at.
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
    const CPosting posting;
    return pfnReal(pObject, pSlot, eType, pReturned);
}
