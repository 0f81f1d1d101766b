#include "MException.h"

namespace ZOLAR3D {

bool MException::Enable = false;

MException::MException() : m_message(new std::string()) {}

MException::MException(const char *message) : m_message(new std::string(message ? message : "")) {}

MException::MException(const MException &other) : m_message(new std::string(*other.m_message)) {}

MException &MException::operator=(const MException &other)
{
    if (this != &other)
        setMessage(other.m_message->c_str());
    return *this;
}

MException::~MException() { delete m_message; }

const char *MException::message() const { return m_message->c_str(); }

void MException::setMessage(const char *message)
{
    // Copy before freeing: message may point into the string being replaced.
    std::string *replacement = new std::string(message ? message : "");
    delete m_message;
    m_message = replacement;
}

} // namespace ZOLAR3D
