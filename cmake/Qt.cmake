# The panel's runtime is Qt 4.8, a desktop's is Qt 5. What differs between the two builds is here.

set(QT_VERSION_MAJOR 5 CACHE STRING "5, or 4 for a panel (then give QT_QMAKE_EXECUTABLE too)")

if(QT_VERSION_MAJOR EQUAL 4)
  find_package(Qt4 4.8 REQUIRED COMPONENTS QtCore QtSql QtTest)
  set(QT_TARGET_PREFIX Qt4::Qt)
elseif(QT_VERSION_MAJOR EQUAL 5)
  find_package(Qt5 5.15 REQUIRED COMPONENTS Core Sql)
  if(BUILD_TESTING OR NOT DEFINED BUILD_TESTING)
    find_package(Qt5 5.15 REQUIRED COMPONENTS Test)
  endif()
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
