# Checks the dynamic symbol table of the shared library: the five functions
# and the 29 identifiers must be there, and nothing may be exported but
# those, the CZanTString class and the CZanTString folder listing, and the
# functions of zandb4::tool_access that the zandb4 tool links against (each
# of them, and nothing else in that namespace).
execute_process(COMMAND nm -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REPLACE "\n" ";" lines "${table}")
set(names)
foreach(line ${lines})
  string(REGEX REPLACE "^[0-9a-fA-F]* *[A-Za-z] " "" name "${line}")
  if(NOT name STREQUAL "")
    list(APPEND names ${name})
  endif()
endforeach()

set(required ZanDB4_Initialize ZanDB4_Finalize ZanDB4_DropDatabase ZanDB4_CreateInstance ZanCamDB_CreateMgrInstance
    IID_IZanDB4FileDBMgr IID_IZanDB4FileDBRecord IID_IZanDB4QueryMgr IID_IZanDB4QueryNode IID_IZanDB4AlbumDBRecord
    IID_IZanDB4AlbumDBMgr IID_IZanDB4TagDBMgr IID_IZanDB4TagDBRecord IID_IZanDB4FileMetaDBRecord IID_IZanDB4DBUtility
    IID_IZanDB4DeadLinkInfo IID_IZanDB4EditFileCache IID_IZanDB4FileLargeMetaData IID_IZanDB4FaceDBRecord
    IID_IZanDB4FaceFeaturePointData IID_IZanDB4FaceFeaturePointGroup IID_IZanDB4IndividualDBRecord
    IID_IZanDB4IndividualGroupDBRecord IID_IZanDB4FaceDBMgr IID_IZanDB4FileCache IID_IZanDB4ImportDBMgr
    IID_IZanDB4ImportDBRecord IID_IZanDB4MainImageCache IID_IZanDB4GPSLogDBRecord IID_IZanDB4GPSLogFileRecord
    IID_IZanDB4GPSLogDBMgr IID_IZanDB4MemoryDataMgr IID_IZanDB4AccessLogDBMgr IID_IZanDB4AppLogDBMgr)
list(LENGTH required required_count)
if(NOT required_count EQUAL 34)
  message(FATAL_ERROR "the check itself lists ${required_count} names, not 5 functions and 29 identifiers")
endif()
foreach(name ${required})
  list(FIND names ${name} found)
  if(found EQUAL -1)
    message(FATAL_ERROR "not exported: ${name}")
  endif()
endforeach()

foreach(name ${names})
  list(FIND required ${name} found)
  if(NOT found EQUAL -1)
    continue()
  endif()
  # Itanium-mangled members of CZanTString (_ZN11CZanTString...), its
  # vtable and typeinfo (_ZTV/_ZTI/_ZTS11CZanTString), operator+ on it, and
  # the ListFolder specialisation of CZanTArray<CZanTString>.
  if(name MATCHES "^_ZN11CZanTString" OR name MATCHES "^_ZNK11CZanTString" OR name MATCHES "^_ZT[VIS]11CZanTString$"
     OR name MATCHES "^_ZplRK11CZanTStringS1_$" OR name MATCHES "^_ZN10CZanTArrayI11CZanTStringE10ListFolderERKS0_$")
    continue()
  endif()
  # Members of zandb4::tool_access (_ZN6zandb411tool_access...), checked by
  # name below.
  if(name MATCHES "^_ZN6zandb411tool_access")
    continue()
  endif()
  message(FATAL_ERROR "exported but not public: ${name}")
endforeach()

# The tool's functions, by their demangled names up to the parameter list.
execute_process(COMMAND nm -D -C --defined-only ${LIBRARY} OUTPUT_VARIABLE demangled RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "nm -C failed on ${LIBRARY}")
endif()
set(tool_functions StartReadOnly CatalogueRead::CatalogueRead CatalogueRead::~CatalogueRead CountCatalogueRows
    CommitWithFailedIds VolumeSerialOf ThumbnailShardFileName ShardFileNamesIn StoreVersion)
string(REGEX MATCHALL "zandb4::tool_access::[^(\n]*[(]" exported_tool_names "${demangled}")
set(tool_names)
foreach(name ${exported_tool_names})
  string(REGEX REPLACE "^zandb4::tool_access::(.*)[(]$" "\\1" name "${name}")
  list(APPEND tool_names ${name})
  list(FIND tool_functions ${name} found)
  if(found EQUAL -1)
    message(FATAL_ERROR "exported but not one of the tool's functions: zandb4::tool_access::${name}")
  endif()
endforeach()
foreach(name ${tool_functions})
  list(FIND tool_names ${name} found)
  if(found EQUAL -1)
    message(FATAL_ERROR "not exported: zandb4::tool_access::${name}")
  endif()
endforeach()
message(STATUS "exports: ${required_count} required names present, nothing else but CZanTString and the tool's functions")
