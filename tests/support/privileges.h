#ifndef PRIVILEGES_H
#define PRIVILEGES_H

#include <QtGlobal>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

/// While it exists, file permissions apply to this thread even if it is root's.
class WithoutPrivileges
{
public:
    WithoutPrivileges()
    {
        m_header.version = _LINUX_CAPABILITY_VERSION_3;
        m_header.pid = 0;
        syscall(SYS_capget, &m_header, m_own);
        __user_cap_data_struct fewer[2] = {m_own[0], m_own[1]};
        fewer[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        syscall(SYS_capset, &m_header, fewer);
    }
    ~WithoutPrivileges() { syscall(SYS_capset, &m_header, m_own); }

private:
    Q_DISABLE_COPY(WithoutPrivileges)

    __user_cap_header_struct m_header;
    __user_cap_data_struct m_own[2];
};

#endif
