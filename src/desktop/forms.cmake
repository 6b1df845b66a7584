target_sources(tlm_engine PRIVATE ${TLM_FORMS_DIR}/grid_model.cpp)
target_sources(tlm_gui PRIVATE ${TLM_FORMS_DIR}/grid_widget.cpp)
