<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>vimbo::ui::InspectorView</name>
    <message numerus="yes">
        <source>%n Clip(s)</source>
        <translation type="unfinished">
            <numerusform>%n Clip</numerusform>
            <numerusform>%n Clips</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>vimbo::ui::MainWindow</name>
    <message numerus="yes">
        <source>%n Clip(s)</source>
        <translation>
            <numerusform>%n Clip</numerusform>
            <numerusform>%n Clips</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>vimbo::ui::PhotoPicker</name>
    <message numerus="yes">
        <source>%n Selected</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
</context>
</TS>
