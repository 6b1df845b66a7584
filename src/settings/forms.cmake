target_sources(tlm_engine PRIVATE ${TLM_FORMS_DIR}/database_setup.cpp)
target_sources(tlm_gui PRIVATE
  ${TLM_FORMS_DIR}/manager_settings_form.cpp
  ${TLM_FORMS_DIR}/database_settings_form.cpp
  ${TLM_FORMS_DIR}/option_panels.cpp
)
