# What a desktop needs to know of the program. The icons also lie beside the built program, where it finds them.
set(application org.kelvane.Kelvane)

foreach(icon scalable/apps/${application} 16x16/apps/${application} symbolic/apps/${application}-symbolic)
    cmake_path(GET icon PARENT_PATH folder)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/icons/${icon}.svg ${CMAKE_BINARY_DIR}/share/icons/hicolor/${icon}.svg COPYONLY)
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/icons/${icon}.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${folder})
endforeach()

kelvane_install_configured(${CMAKE_CURRENT_LIST_DIR} ${application}.service ${CMAKE_INSTALL_DATADIR}/dbus-1/services)

kelvane_entry_texts(GenericName GenericName GenericName)
kelvane_entry_texts(Comment Comment Comment)
kelvane_entry_texts(Keywords Keywords Keywords)
kelvane_entry_texts(HotkeyAction HotkeyAction Name)
kelvane_entry_texts(HiddenAction HiddenAction Name)
kelvane_entry_texts(Prelaunch Prelaunch Comment)
configure_file(${CMAKE_CURRENT_LIST_DIR}/${application}.desktop.in ${CMAKE_CURRENT_BINARY_DIR}/${application}.desktop @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/autostart.desktop.in ${CMAKE_CURRENT_BINARY_DIR}/autostart/${application}.desktop @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${application}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
# For a user to copy to ~/.config/autostart.
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/autostart/${application}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvane/autostart)

kelvane_element_texts(Summary Comment "  " summary)
foreach(paragraph 1 2 3)
    kelvane_element_texts(Description${paragraph} Description${paragraph} "    " p)
endforeach()
foreach(picture 1 2)
    kelvane_element_texts(Picture${picture} Picture${picture} "      " caption)
endforeach()
kelvane_element_texts(Release1.0.0 Release1.0.0 "        " p)
configure_file(${CMAKE_CURRENT_LIST_DIR}/${application}.metainfo.xml.in ${CMAKE_CURRENT_BINARY_DIR}/${application}.metainfo.xml @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${application}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# What programs that read the output of `kelvane --json` validate it by.
install(FILES ${CMAKE_CURRENT_LIST_DIR}/details.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvane)
