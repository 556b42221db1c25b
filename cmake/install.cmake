# What an installation holds: both libraries, the bases of adapters, the paper client, their headers,
# the programs, and how CMake and pkg-config find them. `./run --install DIR` and `./run --package` use it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers include/linkage-1)
set(config ${CMAKE_INSTALL_LIBDIR}/cmake/linkage)

install(TARGETS platform linkage EXPORT targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS adapters paper adaptercheck EXPORT targets ARCHIVE COMPONENT development)

# What clients may include. Each compiles alone in C++17, and none needs one that is not here;
# scripts/check-package.sh sees to it. scripts/check-docs.sh reads the list from the build tree.
file(GLOB_RECURSE public RELATIVE ${PROJECT_SOURCE_DIR} platform/*.h)
list(APPEND public
  adaptercheck/adaptercheck.h
  adapters/accountrecords.h adapters/quoteboard.h adapters/recordcenter.h adapters/strandengine.h
  linkage/export.h linkage/plugin.h linkage/version.h
  linkage/balance/balancebook.h linkage/balance/balanceplan.h linkage/balance/balancerule.h
  linkage/balance/linkagechanges.h
  linkage/core/balanceasker.h linkage/core/clinkagemanager.h linkage/core/linkageoptions.h
  linkage/core/mutex.h linkage/core/reconciliation.h linkage/core/room.h linkage/core/startup.h
  linkage/draw/cenhancedrawmanager.h
  linkage/ledger/changes.h linkage/ledger/types.h
  linkage/record/recordingoptions.h
  linkage/stats/periodpoint.h
  linkage/store/filedrecords.h linkage/store/historyrequest.h linkage/store/importreport.h
  paper/clientdata.h paper/clientobserver.h paper/faults.h paper/loop.h paper/paperclient.h
  paper/requests.h paper/scheduler.h)
list(JOIN public "\n" lines)
file(WRITE ${PROJECT_BINARY_DIR}/public-headers "${lines}\n")
foreach(header IN LISTS public)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${headers}/${folder} COMPONENT development)
endforeach()

foreach(program linkage-replay linkage-day linkage-makeday linkage-desk linkage-lab
                linkage-adapter-check)
  if(TARGET ${program})
    set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS ${program} RUNTIME COMPONENT tools)
  endif()
endforeach()

install(EXPORT targets NAMESPACE linkage:: FILE linkageTargets.cmake
  DESTINATION ${config} COMPONENT development)
configure_package_config_file(cmake/linkageConfig.cmake.in ${PROJECT_BINARY_DIR}/linkageConfig.cmake
  INSTALL_DESTINATION ${config})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/linkageConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
# The library's folder may have one step or, as on Debian below /usr, two.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/linkage.pc.in ${PROJECT_BINARY_DIR}/linkage.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/linkageConfig.cmake
              ${PROJECT_BINARY_DIR}/linkageConfigVersion.cmake
  DESTINATION ${config} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/linkage.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Debian packages, of this tree alone.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "The makers of linkage <linkage@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Follows and balances trading strategies in a trading client")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME liblinkage${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liblinkage-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "qtbase5-dev, libboost-system-dev, libboost-thread-dev, libfmt-dev, libmongoclient-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME linkage-tools)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_TOOLS_DEPENDS library)
include(CPack)
