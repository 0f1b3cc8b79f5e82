<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP" sourcelanguage="en_US">
<context>
    <name>VKQtPathUtils</name>
    <message>
        <source>copy</source>
        <extracomment>In the name of a copied file: "holiday copy.jpg", "holiday copy 2.jpg".</extracomment>
        <translation>コピー</translation>
    </message>
</context>
</TS>
