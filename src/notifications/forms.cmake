target_sources(tlm_gui PRIVATE
  ${TLM_FORMS_DIR}/notification_display_form.cpp
  ${TLM_FORMS_DIR}/template_editor_form.cpp
)
