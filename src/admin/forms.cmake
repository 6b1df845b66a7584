target_sources(tlm_gui PRIVATE
  ${TLM_FORMS_DIR}/list_pickers_dialog.cpp
  ${TLM_FORMS_DIR}/manager_list_form.cpp
)
