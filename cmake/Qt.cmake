# The panel's runtime uses Qt 4.8, a desktop Qt 5. What differs between the two builds is here.

set(QT_VERSION_MAJOR 5 CACHE STRING "5, or 4 for a panel (then give QT_QMAKE_EXECUTABLE too)")

set(QT_MODULES_NEEDED Core Sql)
if(BUILD_TESTING OR NOT DEFINED BUILD_TESTING)
  list(APPEND QT_MODULES_NEEDED Test)
endif()

if(QT_VERSION_MAJOR EQUAL 4)
  list(TRANSFORM QT_MODULES_NEEDED PREPEND Qt)
  find_package(Qt4 4.8 REQUIRED COMPONENTS ${QT_MODULES_NEEDED})
  set(QT_TARGET_PREFIX Qt4::Qt)
  # Q_DECL_EXPORT is empty in a Qt 4.8 that was built with all symbols visible. We hide ours, so without this the module
  # would export nothing.
  add_compile_definitions(QT_VISIBILITY_AVAILABLE=)
elseif(QT_VERSION_MAJOR EQUAL 5)
  find_package(Qt5 5.15 REQUIRED COMPONENTS ${QT_MODULES_NEEDED})
  set(QT_TARGET_PREFIX Qt5::)
else()
  message(FATAL_ERROR "QT_VERSION_MAJOR is '${QT_VERSION_MAJOR}', it must be 4 or 5")
endif()

# link_qt(target Core Sql ...): links the modules and runs moc where a source asks for it.
function(link_qt target)
  foreach(module IN LISTS ARGN)
    target_link_libraries(${target} PUBLIC ${QT_TARGET_PREFIX}${module})
  endforeach()
endfunction()
