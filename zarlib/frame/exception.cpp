#include "zarlib/frame/exception.h"

chException::chException() : m_word(0) {}

chException::~chException() = default;

chException &chException::operator=(const chException &other) = default;
