#pragma once

#include <cstdint>

namespace outbox
{

/// Linux only: whether a file system with this number, as `statfs` tells it, reaches its files over a network
/// or through another program. Its locks and syncs may not mean what they mean on a local disk.
constexpr bool IsNetworkFileSystem(std::uint32_t nMagic)
{
    switch (nMagic) {
    case 0x00006969: // NFS
    case 0x0000517b: // SMB
    case 0xfe534d42: // SMB 2
    case 0xff534d42: // CIFS
    case 0x65735546: // FUSE: sshfs, s3fs and the like
    case 0x01021997: // 9P
    case 0x5346414f: // AFS
    case 0x6b414653: // AFS of the kernel
    case 0x73757245: // Coda
    case 0x0000564c: // NetWare
    case 0x00c36400: // Ceph
    case 0x0bd00bd0: // Lustre
        return true;
    default:
        return false;
    }
}

} // namespace outbox
