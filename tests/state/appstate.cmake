kestrune_add_test(tst_appstate APP core
    SOURCES
        tst_observable.cpp tst_appstate_settings.cpp tst_appstate_refresh.cpp tst_appstate_selection.cpp
        tst_alertday.cpp tst_appstate_alertdesk.cpp tst_appstate_alerts.cpp tst_appstate_loops.cpp tst_appstate_standings.cpp
    LINKS Kestrune::AppFixture)
