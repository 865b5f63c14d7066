<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- The English plural forms of the views' counted phrases, for the tests and screenshots
     until the application's own English translation carries them. -->
<TS version="2.1" language="en_US">
<context>
    <name>vimbo::ui::InspectorView</name>
    <message numerus="yes">
        <source>%n Clip(s)</source>
        <translation>
            <numerusform>%n Clip</numerusform>
            <numerusform>%n Clips</numerusform>
        </translation>
    </message>
</context>
</TS>
