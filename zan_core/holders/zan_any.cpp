#include "zan_core/holders/zan_any.h"

#include <cstdlib>
#include <cxxabi.h>

ZanAnyImpl::CTypeName::CTypeName( SZanTypeIndex Index )
    : _pRawName( Index._pTypeInfo->name() ),
      _pReadableName( abi::__cxa_demangle( _pRawName, nullptr, nullptr, nullptr ) )
{}

ZanAnyImpl::CTypeName::~CTypeName() { std::free( _pReadableName ); }

const char* ZanAnyImpl::CTypeName::GetText() const
{
    return _pReadableName != nullptr ? _pReadableName : _pRawName;
}
