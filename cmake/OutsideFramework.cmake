# The plug-in alone, on a framework from outside: VESK_FRAMEWORK_DIR has its headers as
# include/framework/*.h, or below include/vesk as our own are installed, and its library
# as lib/libvesk.so.
set(headers include)
if(EXISTS ${VESK_FRAMEWORK_DIR}/include/vesk/framework)
  set(headers include/vesk)
endif()

# What the plug-in asks of a framework, and nothing else.
set(missing "")
foreach(header IBase IConfig IConfigManager IEventDispatcher IExtCounters ILogger IOSRestart
               IPlugin PConditionalVar PCounter PCounterSync PLiteral PMutex PProcess PString
               PThread PTime PUtils veskGetInstance)
  if(NOT EXISTS ${VESK_FRAMEWORK_DIR}/${headers}/framework/${header}.h)
    list(APPEND missing ${headers}/framework/${header}.h)
  endif()
endforeach()
if(NOT EXISTS ${VESK_FRAMEWORK_DIR}/lib/libvesk.so)
  list(APPEND missing lib/libvesk.so)
endif()
if(missing)
  list(JOIN missing "\n  " missing)
  message(FATAL_ERROR "VESK_FRAMEWORK_DIR=${VESK_FRAMEWORK_DIR} is no framework to build "
                      "against. In this folder there is no\n  ${missing}")
endif()

add_library(vesk SHARED IMPORTED GLOBAL)
set_target_properties(vesk PROPERTIES
  IMPORTED_LOCATION ${VESK_FRAMEWORK_DIR}/lib/libvesk.so IMPORTED_NO_SONAME TRUE)
# A device finds the library by its name.
set(CMAKE_SKIP_RPATH ON)

# The source folder has a framework of its own, which must not be found beside the
# other one. So the product's folders are seen through links, from a place with nothing
# else in it.
set(product ${CMAKE_BINARY_DIR}/product)
file(MAKE_DIRECTORY ${product})
foreach(folder plugin watchdog)
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${product}/${folder} SYMBOLIC)
endforeach()
set(include_folders ${product})
# Its warnings are not ours.
include_directories(SYSTEM ${VESK_FRAMEWORK_DIR}/${headers})
