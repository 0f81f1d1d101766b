#pragma once

#include "Zol3DExport.h"

#include <string>

namespace ZOLAR3D {

// The library's exception. Whether failures throw it is decided once for the
// whole process by MException::Enable (false by default).
class ZOL3D_API MException {
public:
    MException();
    explicit MException(const char *message);
    MException(const MException &other);
    MException &operator=(const MException &other);
    virtual ~MException();

    virtual const char *message() const;

    // The library-wide failure policy: when true a failing function throws
    // with its fixed text, otherwise it returns its neutral result quietly.
    static bool Enable;

protected:
    void setMessage(const char *message);

private:
    std::string *m_message;
};

} // namespace ZOLAR3D
