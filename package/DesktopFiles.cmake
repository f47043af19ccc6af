# What a desktop needs to know of the program. The icon also lies beside the built program, where it finds it.
set(application org.kelvane.Kelvane)
set(icon_folder ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

configure_file(${CMAKE_CURRENT_LIST_DIR}/${application}.svg
    ${CMAKE_BINARY_DIR}/share/icons/hicolor/scalable/apps/${application}.svg COPYONLY)
kelvane_install_configured(${CMAKE_CURRENT_LIST_DIR} ${application}.service ${CMAKE_INSTALL_DATADIR}/dbus-1/services)

install(FILES ${CMAKE_CURRENT_LIST_DIR}/${application}.svg DESTINATION ${icon_folder})
kelvane_translate_desktop_entry(${CMAKE_CURRENT_LIST_DIR}/${application}.desktop ${CMAKE_CURRENT_BINARY_DIR}/${application}.desktop)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${application}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/${application}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# What programs that read the output of `kelvane --json` validate it by.
install(FILES ${CMAKE_CURRENT_LIST_DIR}/details.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvane)
