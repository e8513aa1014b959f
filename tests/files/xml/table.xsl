<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:template match="row">
  <xsl:if test="position() > 1 and @size &lt; 9"><tr title='a "quoted" > sign'>
    <td><xsl:value-of select="."/></td>
  </tr></xsl:if>
</xsl:template>
</xsl:stylesheet>
